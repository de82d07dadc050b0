#pragma once
// The world as a command sees it: progress on a terminal, questions answered in advance or by the safe answer.

#include <chrono>
#include <functional>

#include "cli/command_line.h"
#include "cli/console.h"
#include "core/host.h"
#include "core/waveform.h"

namespace tervo::cli {

class CliHost final : public Host {
 public:
  /// Before a file is opened, because that may move to its folder.
  CliHost(Console& console, const CommandLine& line);
  ~CliHost() override { endProgress(); }

  void showStatus(TextView text) override;
  /// On a terminal only.
  bool showsStatus() const { return console_.isTerminal() && !line_.quiet; }
  bool progress(double fraction) override;
  std::size_t ask(const Question& question) override;
  std::optional<Text> locateFile(const FileRequest& request) override;
  std::vector<std::unique_ptr<Waveform>> render(const Item& item) override;

  /// Who renders songs and instruments, while a command may have to.
  using Renderer = std::function<std::vector<std::unique_ptr<Waveform>>(const Item&)>;
  void setRenderer(Renderer renderer) { renderer_ = std::move(renderer); }

  /// Where "Done: ..." goes from now on instead of being shown: something that may fail follows. Null: nowhere.
  void keepSummary(Text* summary) { summary_ = summary; }

  bool cancelled() const { return console_.cancelRequested(); }
  /// Takes the progress line off the terminal before something else is printed.
  void endProgress();

 private:
  void tellProgress(int percent);

  Console& console_;
  const CommandLine& line_;
  Renderer renderer_;
  /// What the answers say where they name a file, and that file.
  std::vector<std::pair<Text, Text>> files_;
  bool drawsProgress_;
  Text* summary_ = nullptr;
  int shownPercent_ = -1, toldPercent_ = -1;
  std::chrono::steady_clock::time_point toldAt_{};
};

/// The button that the given answers choose ("yes", "no", "TEXT=BUTTON" where TEXT is part of the question and BUTTON
/// is the button's label, '&' left out); the safe button when none fits.
std::size_t chosenButton(const Question& question, std::span<const Text> answers);

}  // namespace tervo::cli
