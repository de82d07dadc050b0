#include "formats/codec/codec_library.h"

namespace tervo {

std::unique_ptr<platform::DynamicLibrary> openCodecLibrary(TextView purpose, TextView library,
                                                           std::span<const TextView> fileNames) {
  auto opened = platform::DynamicLibrary::open(fileNames);
  if (opened) return opened;
  return fail(Text(purpose) + u" needs the library " + Text(library) +
              u", which is not installed. Please install it and try again.");
}

}  // namespace tervo
