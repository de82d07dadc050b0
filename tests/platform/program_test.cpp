#include "platform/program.h"

#include <gtest/gtest.h>

#include <cmath>
#include <thread>

#include "base/last_error.h"
#include "platform/dynamic_library.h"
#include "platform/thread.h"

namespace tervo::platform {
namespace {

TEST(DynamicLibrary, IsFoundUnderAnyOfItsNames) {
  constexpr TextView names[] = {u"tervo-no-such-library", u"libm.so.6", u"msvcrt.dll"};
  const auto library = DynamicLibrary::open(names);
  ASSERT_TRUE(library) << toUtf8(LastErrorText());
  const auto cosine = library->function<double(double)>("cos");
  ASSERT_TRUE(cosine);
  EXPECT_EQ(cosine(0.0), 1.0);
  EXPECT_EQ(library->function<void()>("no_such_function"), nullptr);
  EXPECT_EQ(LastErrorText(), u"Library \"" + library->name() + u"\" has no function \"no_such_function\"");
}

TEST(DynamicLibrary, ThatIsMissingIsNamed) {
  constexpr TextView names[] = {u"tervo-no-such-library", u"nor-this"};
  EXPECT_FALSE(DynamicLibrary::open(names));
  EXPECT_EQ(LastErrorText(), u"Library \"tervo-no-such-library\" was not found");
}

TEST(ThreadRoles, BelongToEachThread) {
  EXPECT_EQ(currentThreadRole(), ThreadRole::document);
  ThreadRole before{}, after{};
  std::thread([&] {
    before = currentThreadRole();
    setThreadRole(ThreadRole::audio);
    const AudioPriority raisedWherePossible;
    after = currentThreadRole();
  }).join();
  EXPECT_EQ(before, ThreadRole::other);
  EXPECT_EQ(after, ThreadRole::audio);
  EXPECT_EQ(currentThreadRole(), ThreadRole::document);
}

TEST(Program, MayUseAProcessor) {
  EXPECT_GE(processorCount(), 1);
}

}  // namespace
}  // namespace tervo::platform
