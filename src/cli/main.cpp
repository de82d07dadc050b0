#include "cli/commands.h"
#include "cli/process_console.h"
#include "platform/heap.h"
#include "platform/program.h"

int main(int argc, char** argv) {
  tervo::platform::growHeapInLargePages();
  tervo::cli::ProcessConsole console;
  return tervo::cli::run(tervo::platform::programArguments(argc, argv), console);
}
