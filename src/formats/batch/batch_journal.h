#pragma once
// What earlier batches have done in a target folder, kept there in a file: one line for each conversion that has begun
// and one when it is done. A line carries its own check sum, so damage costs the lines that it hits.

#include <cstdint>
#include <map>
#include <memory>
#include <string_view>

#include "base/text.h"
#include "platform/file.h"

namespace tervo {

class BatchJournal {
 public:
  /// One conversion: the source and, below the folder, its target; and a number for everything else that was asked for.
  struct Task {
    Text source;
    Text target;
    uint64_t options = 0;
  };
  enum class Standing : uint8_t {
    unknown,
    finished,  ///< the target is there, made from the source as it is
    ours       ///< the target is there, made by an earlier run that was broken off, or before the source changed
  };

  /// Reads what is there.
  explicit BatchJournal(Text folder);

  Standing standing(const Task& task) const;
  /// Whether the file below the folder has been made by a batch and not been changed since.
  bool hasMade(TextView target) const;

  /// Keeps other batches from the folder, for as long as this lives, and tidies the file up. False with "Another batch
  /// is writing into this folder" or why the file cannot be written.
  bool begin();
  // Any thread, one at a time. False where the line could not be written; the work itself is not affected.
  bool noteBegun(const Task& task);
  bool noteDone(const Task& task);

  /// The file's name.
  static constexpr TextView fileName = u".tervo-batch";

 private:
  struct Record {
    bool isDone = false;
    uint64_t options = 0;
    int64_t sourceTime = 0, targetTime = 0;  ///< as platform::modificationTime()
    Text source;
  };

  Text pathOf(TextView target) const;
  void readLine(std::string_view line);
  static std::string lineOf(TextView target, const Record& record);
  bool note(const Task& task, bool isDone);

  Text folder_;
  std::map<Text, Record> records_;  ///< by target
  std::unique_ptr<platform::PresenceFile> presence_;
};

/// A number for texts that differ.
uint64_t checkSum(std::string_view bytes);

}  // namespace tervo
