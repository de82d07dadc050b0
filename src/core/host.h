#pragma once
// What the lower rooms may ask of the world: a status line, progress that can be cancelled, questions, a missing file.
// The window, the command line and the tests implement it, so every question has an answer without a window.

#include <memory>
#include <optional>
#include <span>
#include <vector>

#include "base/text.h"

namespace tervo {

class Item;
class Waveform;

struct Question {
  TextView text;
  std::span<const TextView> buttons;
  std::size_t safeButton;  ///< the answer that loses nothing, taken when nobody can be asked
};

/// A file that the user is asked for.
struct FileRequest {
  TextView title;    ///< "Please locate 1mgm.sf2"
  TextView pattern;  ///< which files are offered: "*.sf2"
};

/// Called on the document thread, progress() also from workers of a long operation.
class Host {
 public:
  virtual ~Host() = default;

  virtual void showStatus(TextView) {}
  /// `fraction` is 0..1. Returns false when the user wants to stop.
  virtual bool progress(double /*fraction*/) { return true; }
  /// The index of the chosen button.
  virtual std::size_t ask(const Question& question) { return question.safeButton; }
  /// A file that an instrument names and that is not where it should be; nothing when it stays missing.
  virtual std::optional<Text> locateFile(const FileRequest&) { return std::nullopt; }
  /// Renders a song to a waveform, or an instrument to one or more, each with a root key of its own. Empty with
  /// LastErrorText set ("Failed to render synth to wave", "Save aborted!").
  virtual std::vector<std::unique_ptr<Waveform>> render(const Item& item);
};

}  // namespace tervo
