#include "platform/child_process.h"

#include <gmock/gmock.h>

#include "base/last_error.h"
#include "platform/program.h"

namespace tervo::platform {
namespace {

using namespace std::chrono_literals;

std::unique_ptr<ChildProcess> startStandIn(const std::vector<Text>& arguments) {
  auto child = ChildProcess::start(siblingProgram(u"stand_in"), arguments);
  EXPECT_TRUE(child) << toUtf8(LastErrorText());
  return child;
}

void waitForEnd(ChildProcess& child) {
  const auto limit = std::chrono::steady_clock::now() + 60s;
  while (!child.wait(1s)) ASSERT_LT(std::chrono::steady_clock::now(), limit);
}

TEST(ChildProcess, ArgumentsArriveAsTheyWereGiven) {
  const std::vector<Text> arguments = {u"echo",  u"",       u"a b", u"\"quoted\"", u"back\\slash\\",    u"\\\"",
                                       u"$HOME", u"%PATH%", u"*",   u"new\nline",  u"\u00E9\U0001F3B5", u"tail\\\\ \\"};
  const auto child = startStandIn(arguments);
  waitForEnd(*child);
  EXPECT_EQ(child->exitStatus(), 7);
  EXPECT_EQ(child->crash(), u"");
  std::string expected;
  for (const Text& argument : arguments) expected += toUtf8(argument) + '\0';
  EXPECT_EQ(child->takeOutput(), expected);
}

// More than a pipe holds, on both streams: a child must not be left waiting for a reader.
TEST(ChildProcess, MuchOutputIsTakenWhole) {
  const auto child = startStandIn({u"flood"});
  waitForEnd(*child);
  EXPECT_EQ(child->takeMessages(), std::string(1'000'000, 'x'));
  EXPECT_EQ(child->takeOutput(), std::string(1'000'000, 'y'));
}

TEST(ChildProcess, CrashesSaySo) {
  const auto child = startStandIn({u"crash"});
  waitForEnd(*child);
  EXPECT_NE(child->crash(), u"");
}

TEST(ChildProcess, CanBeEnded) {
  for (const auto end : {&ChildProcess::askToEnd, &ChildProcess::kill}) {
    const auto child = startStandIn({u"hang"});
    EXPECT_FALSE(child->wait(50ms));
    (*child.*end)();
    waitForEnd(*child);
    EXPECT_NE(child->crash(), u"");
  }
  startStandIn({u"hang"}).reset();
}

TEST(ChildProcess, WhatIsNoProgramDoesNotStart) {
  EXPECT_FALSE(ChildProcess::start(u"/no/such/program", {}));
  EXPECT_EQ(LastErrorText(), u"Could not start program");
}

}  // namespace
}  // namespace tervo::platform
