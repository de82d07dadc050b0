#pragma once
// Runs commands in a folder of their own, with a console in memory.

#include <functional>

#include <nlohmann/json.hpp>

#include "cli/commands.h"
#include "tests/platform/test_folder.h"

namespace tervo::test {

class MemoryConsole final : public cli::Console {
 public:
  void err(std::string_view utf8) override { error += utf8; }
  bool isTerminal() const override { return terminal; }
  bool cancelRequested() const override { return onPoll && onPoll(++polls); }

  std::string output, error;
  bool terminal = false, broken = false;
  std::function<bool(int)> onPoll;  ///< gets how often it has been asked; true: the user wants to stop
  mutable int polls = 0;

 protected:
  bool writeOutput(std::string_view utf8) override {
    output += utf8;
    return !broken;
  }
};

class CommandTest : public testing::Test {
 protected:
  ~CommandTest() override { std::filesystem::current_path(std::filesystem::temp_directory_path()); }

  /// Runs `tervo` with these arguments in the folder and returns the exit status.
  int run(const std::vector<Text>& arguments) {
    std::filesystem::current_path(folder / u"");
    console.output.clear(), console.error.clear();
    console.polls = 0;
    return cli::run(arguments, console);
  }
  nlohmann::json json() const { return nlohmann::json::parse(console.output); }

  TestFolder folder;
  MemoryConsole console;
};

}  // namespace tervo::test
