#pragma once
// What a program gets from the system that started it: its arguments, its standard streams, the wish to stop.

#include <string_view>
#include <vector>

#include "base/text.h"

namespace tervo::platform {

/// The arguments behind the program's own path. Give it what main() got; Windows ignores that and asks for the wide
/// ones.
std::vector<Text> programArguments(int argc, char** argv);

/// The path of the running program itself; empty where the system does not tell.
Text programFile();
/// The path of another program of ours, which stands beside the running one; `name` without ".exe".
Text siblingProgram(TextView name);

/// Writes UTF-8 at once. False, with systemErrorCause(), when nobody reads any more or the disk is full. A Windows
/// console gets the characters whatever its code page.
bool writeStandardOutput(std::string_view utf8);
bool writeStandardError(std::string_view utf8);
bool standardErrorIsTerminal();

/// From now on Ctrl-C no longer ends the program but makes cancelRequested() true; a second one ends it. Whatever
/// signal ends the program, no temporary file stays behind. A file that grows beyond the user's limit becomes a failed
/// write.
void installCancelHandler();
/// Any thread.
bool cancelRequested() noexcept;

/// How many processors this process may use; at least 1.
int processorCount();

}  // namespace tervo::platform
