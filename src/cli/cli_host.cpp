#include "cli/cli_host.h"

#include <fmt/format.h>

#include <algorithm>

#include "platform/path.h"

namespace tervo::cli {
namespace {

Text plainLabel(TextView label) {
  Text plain(label);
  std::erase(plain, u'&');
  return plain;
}

std::optional<std::size_t> buttonLabelled(const Question& question, TextView label) {
  for (std::size_t i = 0; i < question.buttons.size(); ++i) {
    if (equalNoCase(plainLabel(question.buttons[i]), label)) return i;
  }
  return std::nullopt;
}

std::optional<std::size_t> refusal(const Question& question) {
  for (const TextView label : {u"No", u"Cancel"}) {
    if (const auto button = buttonLabelled(question, label)) return button;
  }
  return std::nullopt;
}

}  // namespace

CliHost::CliHost(Console& console, const CommandLine& line)
    : console_(console), line_(line), drawsProgress_(console.isTerminal() && !line.quiet && !line.noProgress) {
  for (const Text& answer : line.answers) {
    const std::size_t equals = answer.find(u'=');
    if (equals == Text::npos || equals + 1 == answer.size()) continue;
    files_.emplace_back(answer.substr(0, equals), platform::absolute(TextView(answer).substr(equals + 1)));
  }
}

void CliHost::showStatus(TextView text) {
  if (summary_ && text.starts_with(u"Done: ")) {
    *summary_ = text;
    return;
  }
  if (!showsStatus()) return;
  endProgress();
  const std::size_t end = text.find(u'\n');
  console_.err(printable(text.substr(0, end)) + "\n");
  if (end != TextView::npos) showStatus(text.substr(end + 1));
}

bool CliHost::progress(double fraction) {
  const int percent = static_cast<int>(std::clamp(fraction, 0.0, 1.0) * 100);
  if (line_.progressLines) tellProgress(percent);
  if (drawsProgress_ && percent != shownPercent_) {
    shownPercent_ = percent;
    console_.err(fmt::format("\r{:3} %", percent));
  }
  return !cancelled();
}

void CliHost::tellProgress(int percent) {
  // Also where nothing advances: it says that this program is alive.
  const auto now = std::chrono::steady_clock::now();
  if (percent == toldPercent_ && now - toldAt_ < std::chrono::seconds(1)) return;
  toldPercent_ = percent;
  toldAt_ = now;
  console_.err(fmt::format("{} %\n", percent));
}

void CliHost::endProgress() {
  if (shownPercent_ >= 0) console_.err("\r      \r");
  shownPercent_ = -1;
}

std::vector<std::unique_ptr<Waveform>> CliHost::render(const Item& item) {
  return renderer_ ? renderer_(item) : Host::render(item);
}

std::size_t CliHost::ask(const Question& question) {
  const std::size_t button = chosenButton(question, line_.answers);
  if (!line_.quiet && button < question.buttons.size()) {
    endProgress();
    console_.err(fmt::format("{}\n  -> {}\n", toUtf8(question.text), toUtf8(plainLabel(question.buttons[button]))));
  }
  return button;
}

std::optional<Text> CliHost::locateFile(const FileRequest& request) {
  const auto file = std::find_if(files_.begin(), files_.end(),
                                 [&](const auto& each) { return request.title.find(each.first) != TextView::npos; });
  const bool isNamed = file != files_.end();
  if (!line_.quiet) {
    endProgress();
    console_.err(fmt::format("{}\n  -> {}\n", toUtf8(request.title), isNamed ? printable(file->second) : "none"));
  }
  return isNamed ? std::optional(file->second) : std::nullopt;
}

std::size_t chosenButton(const Question& question, std::span<const Text> answers) {
  std::size_t button = question.safeButton;
  for (const Text& answer : answers) {
    if (const std::size_t equals = answer.rfind(u'='); equals != Text::npos) {
      if (question.text.find(TextView(answer).substr(0, equals)) == TextView::npos) continue;
      if (const auto named = buttonLabelled(question, TextView(answer).substr(equals + 1))) return *named;
    } else if (equalNoCase(answer, u"yes")) {
      button = 0;
    } else if (equalNoCase(answer, u"no")) {
      button = refusal(question).value_or(question.safeButton);
    }
  }
  return button;
}

}  // namespace tervo::cli
