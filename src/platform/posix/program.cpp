#include "platform/program.h"

#include <sched.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <climits>
#include <csignal>
#include <thread>

#include "platform/path.h"
#include "platform/posix/temporary_file.h"
#include "platform/system_error.h"

namespace tervo::platform {
namespace {

std::atomic<bool> cancelled{false};
static_assert(std::atomic<bool>::is_always_lock_free, "it is set in a signal handler");

bool writeTo(int file, std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t done = write(file, bytes.data(), bytes.size());
    if (done < 0 && errno == EINTR) continue;
    if (done <= 0) return noteSystemError(), false;
    bytes.remove_prefix(static_cast<std::size_t>(done));
  }
  return true;
}

extern "C" void endBySignal(int number) {
  removeTemporaryFiles();
  std::signal(number, SIG_DFL);
  raise(number);
}

extern "C" void cancelOnce(int number) {
  if (cancelled.exchange(true)) endBySignal(number);
}

/// A signal that whoever started the program wanted ignored (nohup) stays ignored.
void handle(int number, void (*handler)(int)) {
  struct sigaction action {};
  if (sigaction(number, nullptr, &action) == 0 && action.sa_handler == SIG_IGN) return;
  action = {};
  action.sa_handler = handler;
  sigemptyset(&action.sa_mask);
  sigaction(number, &action, nullptr);
}

}  // namespace

std::vector<Text> programArguments(int argc, char** argv) {
  std::vector<Text> arguments;
  for (int i = 1; i < argc; ++i) arguments.push_back(fromPathBytes(argv[i]));
  return arguments;
}

Text programFile() {
  std::string path(PATH_MAX, '\0');
  const ssize_t length = readlink("/proc/self/exe", path.data(), path.size());
  path.resize(length > 0 ? static_cast<std::size_t>(length) : 0);
  return fromPathBytes(path);
}

Text siblingProgram(TextView name) {
  return join(folderOf(programFile()), name);
}

bool writeStandardOutput(std::string_view utf8) {
  return writeTo(STDOUT_FILENO, utf8);
}
bool writeStandardError(std::string_view utf8) {
  return writeTo(STDERR_FILENO, utf8);
}
bool standardErrorIsTerminal() {
  return isatty(STDERR_FILENO) == 1;
}

void installCancelHandler() {
  handle(SIGINT, cancelOnce);
  for (const int number : {SIGTERM, SIGHUP, SIGPIPE, SIGQUIT}) handle(number, endBySignal);
  handle(SIGXFSZ, SIG_IGN);
}

bool cancelRequested() noexcept {
  return cancelled;
}

int processorCount() {
  cpu_set_t allowed;
  if (sched_getaffinity(0, sizeof allowed, &allowed) == 0) return std::max(CPU_COUNT(&allowed), 1);
  return std::max(static_cast<int>(std::thread::hardware_concurrency()), 1);
}

}  // namespace tervo::platform
