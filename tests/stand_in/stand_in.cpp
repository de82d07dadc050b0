// Stands in for other programs: for a child process to be started, for the worker of a batch, and for an editor. What
// it does is said by the first word of its first argument, or of the file that the second argument names ("convert
// SOURCE -o TARGET"); with TERVO_STAND_IN_EDITED it puts the content of that file into the one it is given.

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <thread>

#include "platform/file.h"
#include "platform/program.h"

using namespace tervo;
using namespace tervo::platform;

namespace {

[[noreturn]] void hang() {
  for (;;) std::this_thread::sleep_for(std::chrono::seconds(1));
}

std::string contentOf(TextView path) {
  const auto file = InputFile::open(path);
  std::string content(file ? file->size() : 0, '\0');
  if (file) content.resize(file->readAt(0, std::as_writable_bytes(std::span(content))));
  return content;
}

/// As most programs save: by another file in the place of the old one.
int edit(TextView path, const char* edited) {
  std::this_thread::sleep_for(std::chrono::milliseconds(100));
  const std::string content = contentOf(fromPathBytes(edited));
  const auto target = OutputFile::create(path, Replace::allowed);
  return target && target->write(std::as_bytes(std::span(content))) && target->commit() ? 0 : 1;
}

int convert(const std::vector<Text>& arguments) {
  const std::string content = contentOf(arguments[1]);
  const std::string word = content.substr(0, content.find(' '));
  const bool overwrite = std::find(arguments.begin(), arguments.end(), u"--overwrite") != arguments.end();
  const auto target = OutputFile::create(arguments[3], overwrite ? Replace::allowed : Replace::never);
  if (word == "crash") std::abort();
  if (word == "hang") hang();
  if (word == "slow") {
    for (int percent = 0; percent < 100; percent += 5) {
      writeStandardError(std::to_string(percent) + " %\n");
      std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
  }
  if (word == "foreign")
    return writeStandardError("tervo: " + toPathBytes(arguments[1]) + ": Not detected as any supported file type\n"), 1;
  if (word == "fail")
    return writeStandardError("tervo: " + toPathBytes(arguments[1]) + ": It is broken (so it is)\n"), 1;
  writeStandardOutput("[{\"what\":\"a loss\"}]\n");
  return target && target->write(std::as_bytes(std::span(content))) && target->commit() ? 0 : 1;
}

}  // namespace

int main(int argc, char** argv) {
  const auto arguments = programArguments(argc, argv);
  if (arguments.empty()) return 9;
  if (const char* edited = std::getenv("TERVO_STAND_IN_EDITED")) return edit(arguments[0], edited);
  if (arguments[0] == u"convert") return convert(arguments);
  if (arguments[0] == u"crash") std::abort();
  if (arguments[0] == u"hang") hang();
  if (arguments[0] == u"flood") {
    for (int i = 0; i < 100; ++i)
      writeStandardError(std::string(10000, 'x')), writeStandardOutput(std::string(10000, 'y'));
    return 0;
  }
  // Every argument back, a zero byte behind each.
  for (const Text& argument : arguments) writeStandardOutput(toPathBytes(argument) + '\0');
  return 7;
}
