#include "platform/running_instance.h"

#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/un.h>

#include <cstdlib>
#include <future>

#include "platform/posix/file_descriptor.h"
#include "platform/thread.h"
#include "tests/platform/test_folder.h"

namespace tervo::platform {
namespace {

class RunningInstanceTest : public testing::Test {
 protected:
  RunningInstanceTest() {
    std::filesystem::create_directory(folder / u"run");
    setenv("XDG_RUNTIME_DIR", (folder / u"run").c_str(), 1);
    setenv("DISPLAY", ":7", 1);
    unsetenv("WAYLAND_DISPLAY");
  }
  ~RunningInstanceTest() override {
    unsetenv("XDG_RUNTIME_DIR");
    unsetenv("DISPLAY");
  }
  std::unique_ptr<RunningInstance> announce() {
    return RunningInstance::announce(u"Tervo Studio", [this](std::vector<Text> paths) { got.set_value(paths); });
  }

  test::TestFolder folder;
  std::promise<std::vector<Text>> got;
};

TEST_F(RunningInstanceTest, GetsTheFilesOfAFurtherStartUntilItEnds) {
  // A name that is no UTF-8, and one with a line break, come through.
  const std::vector<Text> paths = {u"/home/a b/\u00fc.wav", fromPathBytes("/odd/\xff\n.sf2"), u"/last"};
  EXPECT_FALSE(handOver(paths));
  limitThreads(0);
  EXPECT_FALSE(announce());
  limitThreads(-1);
  auto first = announce();
  ASSERT_TRUE(first);
  EXPECT_FALSE(announce());
  EXPECT_TRUE(handOver(paths));
  EXPECT_EQ(got.get_future().get(), paths);
  first.reset();
  EXPECT_FALSE(handOver(paths));
}

TEST_F(RunningInstanceTest, ACopyThatDiedOrRunsOnAnotherDisplayIsNone) {
  // What a crash leaves: a name in the file system that nobody listens behind.
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  const std::string name = (folder / u"run").string() + "/tervo-studio-:7";
  name.copy(address.sun_path, sizeof address.sun_path - 1);
  {
    const FileDescriptor dead(socket(AF_UNIX, SOCK_STREAM, 0));
    ASSERT_EQ(bind(dead.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
  }
  EXPECT_FALSE(handOver({}));
  const auto first = announce();
  ASSERT_TRUE(first);
  setenv("DISPLAY", ":8", 1);
  EXPECT_FALSE(handOver({}));
  setenv("DISPLAY", ":7", 1);
  EXPECT_TRUE(handOver({}));
  EXPECT_TRUE(got.get_future().get().empty());
}

}  // namespace
}  // namespace tervo::platform
