#include "platform/child_process.h"

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <thread>

#include "platform/posix/file_descriptor.h"
#include "platform/system_error.h"

namespace tervo::platform {
namespace {

using std::chrono::milliseconds, std::chrono::steady_clock;

/// How long a sign of the end may be missed, where streams stay open in other hands or were closed early.
constexpr milliseconds lookAgain{50};

struct Pipe {
  FileDescriptor read, write;
};

bool open(Pipe& made) {
  std::array<int, 2> ends{};
  if (pipe2(ends.data(), O_CLOEXEC) != 0) return false;
  made = {FileDescriptor(ends[0]), FileDescriptor(ends[1])};
  return fcntl(ends[0], F_SETFL, O_NONBLOCK) == 0;
}

Text describe(int signal) {
  const char* description = sigdescr_np(signal);
  return u"ended by signal " + fromUtf8(std::to_string(signal)) +
         (description ? u" (" + fromUtf8(description) + u")" : Text());
}

class PosixChild final : public ChildProcess {
 public:
  PosixChild(pid_t process, FileDescriptor output, FileDescriptor messages)
      : process_(process), streams_{{{std::move(output), &output_}, {std::move(messages), &messages_}}} {}

  ~PosixChild() override {
    if (ended_) return;
    kill();
    int status = 0;
    while (waitpid(process_, &status, 0) < 0 && errno == EINTR) continue;
  }

  bool wait(milliseconds timeout) override {
    const auto end = steady_clock::now() + timeout;
    while (!ended_) {
      const auto left = std::chrono::ceil<milliseconds>(end - steady_clock::now());
      const bool heard = listen(std::clamp(left, milliseconds(0), lookAgain));
      if (lookForEnd()) break;
      if (heard || left <= milliseconds(0)) return false;
    }
    return true;
  }

  void askToEnd() noexcept override { send(SIGTERM); }
  void kill() noexcept override { send(SIGKILL); }

 private:
  struct Stream {
    FileDescriptor file;
    std::string* heard;
  };

  void send(int signal) const noexcept {
    // Until it has been waited for nobody else can have its number.
    if (!ended_) ::kill(process_, signal);
  }

  /// True when there was something. Closed streams leave a short sleep: the end of the process is near then.
  bool listen(milliseconds timeout) {
    std::array<pollfd, 2> open{};
    for (std::size_t i = 0; i < streams_.size(); ++i) open[i] = {streams_[i].file.get(), POLLIN, 0};
    const bool allClosed = !streams_[0].file && !streams_[1].file;
    if (allClosed) timeout = std::min(timeout, milliseconds(1));
    poll(open.data(), open.size(), static_cast<int>(timeout.count()));
    bool heard = false;
    for (Stream& stream : streams_) heard = drain(stream) || heard;
    return heard;
  }

  static bool drain(Stream& stream) {
    std::array<char, 16384> block;
    bool heard = false;
    while (stream.file) {
      const ssize_t got = read(stream.file.get(), block.data(), block.size());
      if (got < 0 && errno == EINTR) continue;
      if (got < 0 && errno == EAGAIN) break;
      if (got <= 0)
        stream.file = FileDescriptor();
      else
        stream.heard->append(block.data(), static_cast<std::size_t>(got)), heard = true;
    }
    return heard;
  }

  bool lookForEnd() {
    int status = 0;
    if (waitpid(process_, &status, WNOHANG) != process_) return false;
    ended_ = true;
    exitStatus_ = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    if (WIFSIGNALED(status)) crash_ = describe(WTERMSIG(status));
    for (Stream& stream : streams_) drain(stream);
    return true;
  }

  pid_t process_;
  std::array<Stream, 2> streams_;
  bool ended_ = false;
};

/// What becomes of the child's standard streams, and signals as a fresh program expects them.
class SpawnSetup {
 public:
  SpawnSetup(int output, int messages) {
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_adddup2(&actions, output, STDOUT_FILENO);
    posix_spawn_file_actions_adddup2(&actions, messages, STDERR_FILENO);
    posix_spawnattr_init(&attributes);
    sigset_t none;
    sigemptyset(&none);
    posix_spawnattr_setsigmask(&attributes, &none);
    posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGMASK);
  }
  ~SpawnSetup() {
    posix_spawn_file_actions_destroy(&actions);
    posix_spawnattr_destroy(&attributes);
  }
  SpawnSetup(const SpawnSetup&) = delete;
  SpawnSetup& operator=(const SpawnSetup&) = delete;

  posix_spawn_file_actions_t actions;
  posix_spawnattr_t attributes;
};

}  // namespace

std::unique_ptr<ChildProcess> ChildProcess::start(TextView program, const std::vector<Text>& arguments) {
  constexpr TextView couldNotStart = u"Could not start program";
  std::vector<std::string> words{toPathBytes(program)};
  for (const Text& argument : arguments) words.push_back(toPathBytes(argument));
  std::vector<char*> pointers;
  for (std::string& word : words) pointers.push_back(word.data());
  pointers.push_back(nullptr);

  Pipe output, messages;
  if (!open(output) || !open(messages)) return failBySystem(couldNotStart);
  const SpawnSetup setup(output.write.get(), messages.write.get());
  pid_t process = 0;
  const int error = posix_spawn(&process, pointers[0], &setup.actions, &setup.attributes, pointers.data(), environ);
  if (error != 0) return failBySystem(couldNotStart, error);
  return std::make_unique<PosixChild>(process, std::move(output.read), std::move(messages.read));
}

}  // namespace tervo::platform
