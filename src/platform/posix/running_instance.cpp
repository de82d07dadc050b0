#include "platform/running_instance.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/time.h>
#include <sys/un.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <optional>
#include <thread>

#include "platform/file.h"
#include "platform/path.h"
#include "platform/posix/file_descriptor.h"
#include "platform/system_error.h"
#include "platform/thread.h"
#include "platform/user_folders.h"

namespace tervo::platform {
namespace {

constexpr timeval patience{2, 0};
constexpr std::size_t longestMessage = 1 << 20;
constexpr char taken = '+';

const char* variable(const char* name) {
  const char* value = std::getenv(name);
  return value && *value ? value : nullptr;
}

/// A copy on another display is none that could come forward here.
std::string socketPath() {
  const char* shown = variable("WAYLAND_DISPLAY");
  if (!shown) shown = variable("DISPLAY");
  std::string display = shown ? shown : "none";
  std::replace(display.begin(), display.end(), '/', '_');
  const char* folder = variable("XDG_RUNTIME_DIR");
  return (folder ? folder : toPathBytes(configFolder())) + "/tervo-studio-" + display;
}

bool makeAddress(const std::string& path, sockaddr_un& address) {
  address = {};
  address.sun_family = AF_UNIX;
  if (path.size() >= sizeof address.sun_path) return false;
  path.copy(address.sun_path, path.size());
  return true;
}

const sockaddr* generic(const sockaddr_un& address) {
  return reinterpret_cast<const sockaddr*>(&address);
}

FileDescriptor makeSocket() {
  FileDescriptor made(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
  // Neither a copy that hangs nor one that never ends its message may hold up the other.
  if (made) setsockopt(made.get(), SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof patience);
  if (made) setsockopt(made.get(), SOL_SOCKET, SO_SNDTIMEO, &patience, sizeof patience);
  return made;
}

bool isOwnUser(int connection) {
  ucred peer{};
  socklen_t size = sizeof peer;
  return getsockopt(connection, SOL_SOCKET, SO_PEERCRED, &peer, &size) == 0 && peer.uid == getuid();
}

bool sendAll(int connection, std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t sent = send(connection, bytes.data(), bytes.size(), MSG_NOSIGNAL);
    if (sent <= 0) return false;
    bytes.remove_prefix(static_cast<std::size_t>(sent));
  }
  return true;
}

/// Paths end with a zero byte each; the message ends where the sender stops writing.
std::optional<std::vector<Text>> receivePaths(int connection) {
  std::string message;
  char buffer[4096];
  for (;;) {
    const ssize_t got = recv(connection, buffer, sizeof buffer, 0);
    if (got < 0 || message.size() > longestMessage) return std::nullopt;
    if (got == 0) break;
    message.append(buffer, static_cast<std::size_t>(got));
  }
  std::vector<Text> paths;
  for (std::size_t at = 0; at < message.size();) {
    const std::size_t end = message.find('\0', at);
    if (end == std::string::npos) return std::nullopt;
    paths.push_back(fromPathBytes(std::string_view(message).substr(at, end - at)));
    at = end + 1;
  }
  return paths;
}

class Listener final : public RunningInstance {
 public:
  Listener(std::unique_ptr<PresenceFile> lock, std::string path, FileDescriptor socket, FileDescriptor wake,
           Receiver receiver)
      : lock_(std::move(lock)),
        path_(std::move(path)),
        socket_(std::move(socket)),
        wake_(std::move(wake)),
        receiver_(std::move(receiver)) {}
  ~Listener() override {
    eventfd_write(wake_.get(), 1);
    if (thread_.joinable()) thread_.join();
    unlink(path_.c_str());
  }

  bool begin() {
    return startThread(thread_, [this] { listen(); }) || fail(u"Could not start a thread");
  }

 private:
  void listen() {
    for (;;) {
      pollfd waited[] = {{wake_.get(), POLLIN, 0}, {socket_.get(), POLLIN, 0}};
      if (poll(waited, 2, -1) < 0 && errno != EINTR) return;
      if (waited[0].revents) return;
      if (waited[1].revents) answer();
    }
  }
  void answer() {
    const FileDescriptor connection(accept4(socket_.get(), nullptr, nullptr, SOCK_CLOEXEC));
    if (!connection || !isOwnUser(connection.get())) return;
    setsockopt(connection.get(), SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof patience);
    auto paths = receivePaths(connection.get());
    if (!paths || !sendAll(connection.get(), {&taken, 1})) return;
    receiver_(std::move(*paths));
  }

  std::unique_ptr<PresenceFile> lock_;
  std::string path_;
  FileDescriptor socket_, wake_;
  Receiver receiver_;
  std::thread thread_;
};

}  // namespace

std::unique_ptr<RunningInstance> RunningInstance::announce(TextView, Receiver receiver) {
  const std::string path = socketPath();
  auto lock = PresenceFile::tryHold(fromPathBytes(path + ".lock"));
  if (!lock) return fail(Text(anotherCopyRuns));
  sockaddr_un address;
  FileDescriptor socket = makeSocket(), wake(eventfd(0, EFD_CLOEXEC));
  if (!makeAddress(path, address) || !socket || !wake) return fail(u"Could not listen for further starts");
  // Whoever bound that name does not run any more: it would have the lock.
  unlink(path.c_str());
  const mode_t mask = umask(0077);
  const bool bound = bind(socket.get(), generic(address), sizeof address) == 0;
  umask(mask);
  if (!bound || listen(socket.get(), 8) != 0) return failBySystem(u"Could not listen for further starts");
  auto listener =
      std::make_unique<Listener>(std::move(lock), path, std::move(socket), std::move(wake), std::move(receiver));
  if (!listener->begin()) return nullptr;
  return listener;
}

bool handOver(const std::vector<Text>& paths) {
  sockaddr_un address;
  const FileDescriptor socket = makeSocket();
  if (!socket || !makeAddress(socketPath(), address)) return false;
  if (connect(socket.get(), generic(address), sizeof address) != 0 || !isOwnUser(socket.get())) return false;
  std::string message;
  for (const Text& path : paths) message.append(toPathBytes(path)).push_back('\0');
  char answer = 0;
  return sendAll(socket.get(), message) && shutdown(socket.get(), SHUT_WR) == 0 &&
         recv(socket.get(), &answer, 1, 0) == 1 && answer == taken;
}

}  // namespace tervo::platform
