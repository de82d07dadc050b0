#pragma once
// Names of files and folders, taken apart by the rules of the operating system.

#include "base/text.h"

namespace tervo::platform {

/// The characters that separate folders: "/" on POSIX, "/\:" on Windows.
TextView pathSeparators();
/// The one of them that join() puts between a folder and a name.
char16_t preferredSeparator();

/// The part after the last separator.
TextView fileNameOf(TextView path);
/// The text after the last dot of the file name; the whole file name when there is none.
TextView extensionOf(TextView path);
/// The file name without its last dot and what follows.
TextView stemOf(TextView path);
/// The path up to the file name, without the separator that ends it; "." when there is none, the root as it is.
Text folderOf(TextView path);
Text join(TextView folder, TextView name);
/// The path seen from the root, without "." and ".." where they can be resolved by name alone. A ".." behind a symbolic
/// link stays: the folder above is that of the link's target.
Text absolute(TextView path);

}  // namespace tervo::platform
