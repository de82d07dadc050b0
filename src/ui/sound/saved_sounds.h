#pragma once
// What was saved and what the file holds of it, to be heard one after the other.

#include <memory>

#include "ui/document_session.h"

namespace tervo::ui {

class Player;

class SavedSounds {
 public:
  SavedSounds(DocumentSession& session, Player& player, SavedItems saved);
  /// Stops what sounds of the file.
  ~SavedSounds();

  // The waveform, instrument or song of that name, else the first one. False with LastErrorText.
  bool playSource(TextView name);
  /// Reads the file when it is asked for first.
  bool playResult(TextView name);

 private:
  DocumentSession& session_;
  Player& player_;
  SavedItems saved_;
  std::unique_ptr<Collection> result_;
};

}  // namespace tervo::ui
