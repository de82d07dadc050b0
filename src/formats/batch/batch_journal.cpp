#include "formats/batch/batch_journal.h"

#include <fmt/format.h>

#include <array>
#include <charconv>
#include <span>
#include <vector>

#include "base/last_error.h"
#include "platform/file_time.h"
#include "platform/path.h"

namespace tervo {
namespace {

constexpr std::size_t sumDigits = 16;
/// A journal of a million conversions; nobody reads more than that back.
constexpr std::size_t sizeLimit = std::size_t{512} << 20;

/// The bytes of a path without those that separate fields and lines.
std::string escaped(TextView path) {
  std::string result;
  for (const char c : toPathBytes(path)) {
    if (static_cast<unsigned char>(c) <= ' ' || c == '%' || c == 0x7F)
      result += fmt::format("%{:02X}", static_cast<unsigned char>(c));
    else
      result += c;
  }
  return result;
}

template <typename Number>
bool parse(std::string_view text, Number& value, int base = 10) {
  const auto end = text.data() + text.size();
  const auto parsed = std::from_chars(text.data(), end, value, base);
  return parsed.ec == std::errc() && parsed.ptr == end;
}

Text unescaped(std::string_view text) {
  std::string bytes;
  for (std::size_t i = 0; i < text.size(); ++i) {
    uint8_t value = 0;
    if (text[i] == '%' && i + 2 < text.size() && parse(text.substr(i + 1, 2), value, 16))
      bytes += static_cast<char>(value), i += 2;
    else
      bytes += text[i];
  }
  return fromPathBytes(bytes);
}

std::vector<std::string_view> split(std::string_view text, char separator) {
  std::vector<std::string_view> parts;
  for (std::size_t at = 0; at <= text.size();) {
    const std::size_t end = std::min(text.find(separator, at), text.size());
    parts.push_back(text.substr(at, end - at));
    at = end + 1;
  }
  return parts;
}

}  // namespace

uint64_t checkSum(std::string_view bytes) {
  uint64_t sum = 0xCBF29CE484222325;  // FNV-1a, 64 bits
  for (const char c : bytes) sum = (sum ^ static_cast<unsigned char>(c)) * 0x100000001B3;
  return sum;
}

BatchJournal::BatchJournal(Text folder) : folder_(std::move(folder)) {
  const SilentFailures silent;
  const auto file = platform::InputFile::open(pathOf(fileName));
  if (!file) return;
  const auto bytes = file->readUpTo(0, file->size(), sizeLimit);
  const std::string_view text(reinterpret_cast<const char*>(bytes.data()), bytes.size());
  for (const std::string_view line : split(text, '\n')) readLine(line);
}

Text BatchJournal::pathOf(TextView target) const {
  return platform::join(folder_, target);
}

void BatchJournal::readLine(std::string_view line) {
  uint64_t sum = 0;
  if (line.size() <= sumDigits || !parse(line.substr(0, sumDigits), sum, 16)) return;
  const std::string_view body = line.substr(sumDigits);
  const auto fields = split(body, ' ');
  if (sum != checkSum(body) || fields.size() != 7) return;
  Record record;
  record.isDone = fields[1] == "done";
  if (!parse(fields[2], record.options, 16) || !parse(fields[3], record.sourceTime) ||
      !parse(fields[4], record.targetTime))
    return;
  record.source = unescaped(fields[5]);
  records_[unescaped(fields[6])] = std::move(record);
}

std::string BatchJournal::lineOf(TextView target, const Record& record) {
  const std::string body = fmt::format(" {} {:016x} {} {} {} {}", record.isDone ? "done" : "begun", record.options,
                                       record.sourceTime, record.targetTime, escaped(record.source), escaped(target));
  // The line end comes first, so that a line that was cut off does not take the next one with it.
  return fmt::format("\n{:016x}{}", checkSum(body), body);
}

BatchJournal::Standing BatchJournal::standing(const Task& task) const {
  const auto found = records_.find(task.target);
  if (found == records_.end()) return Standing::unknown;
  const Record& record = found->second;
  const int64_t source = platform::modificationTime(task.source);
  const int64_t target = platform::modificationTime(pathOf(task.target));
  if (record.options != task.options || record.source != task.source || target == 0) return Standing::unknown;
  if (!record.isDone) return Standing::ours;
  if (source == record.sourceTime && target >= source) return Standing::finished;
  return target == record.targetTime ? Standing::ours : Standing::unknown;
}

bool BatchJournal::hasMade(TextView target) const {
  const auto found = records_.find(Text(target));
  if (found == records_.end() || !found->second.isDone) return false;
  return found->second.targetTime == platform::modificationTime(pathOf(target));
}

bool BatchJournal::begin() {
  // A second attempt has it already.
  if (!presence_) presence_ = platform::PresenceFile::tryHold(pathOf(Text(fileName) + u".lock"));
  if (!presence_) return fail(u"Another batch is writing into this folder");
  const auto file = platform::OutputFile::create(pathOf(fileName), platform::Replace::allowed);
  if (!file) return false;
  for (const auto& [target, record] : records_) {
    const std::string line = lineOf(target, record);
    if (!file->write(std::as_bytes(std::span(line)))) return false;
  }
  return file->commit();
}

bool BatchJournal::noteBegun(const Task& task) {
  // A file that is there and not ours must never be taken for ours.
  if (platform::fileExists(pathOf(task.target)) && standing(task) != Standing::ours) return true;
  return note(task, false);
}

bool BatchJournal::noteDone(const Task& task) {
  return note(task, true);
}

bool BatchJournal::note(const Task& task, bool isDone) {
  Record record{isDone, task.options, platform::modificationTime(task.source), 0, task.source};
  if (isDone) record.targetTime = platform::modificationTime(pathOf(task.target));
  const std::string line = lineOf(task.target, record);
  records_[task.target] = std::move(record);
  return platform::appendToFile(pathOf(fileName), line);
}

}  // namespace tervo
