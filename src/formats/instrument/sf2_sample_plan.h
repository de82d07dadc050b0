#pragma once
// The samples of a bank that is to be written: one for each channel of each waveform, and where they will stand.

#include <memory>
#include <optional>
#include <unordered_map>
#include <vector>

#include "core/instrument.h"
#include "core/waveform.h"
#include "formats/format_table.h"
#include "formats/instrument/sf2_records.h"

namespace tervo::sf2 {

/// How a sample becomes a stream of a compressed bank.
struct StreamChoice {
  bool mayCopy = true;       ///< a stream that the source holds is taken as it is
  int losslessBits = 0;      ///< FLAC of so many bits; 0: Ogg Vorbis
  double kbitPerSecond = 0;  ///< of Ogg Vorbis; 0: by quality
};

struct PlannedSample {
  SampleRef frames;  ///< one channel; null when there are none
  SampleRecord record;
  StreamChoice stream = {};
  const Waveform* waveform = nullptr;
};

enum class SampleStorage : uint8_t { words, streams };

/// A waveform's samples: first index, one or two, and the waveform as it is written.
struct WaveformSamples {
  std::size_t first = 0, count = 0;
  const Waveform* written = nullptr;
};

class SamplePlan {
 public:
  explicit SamplePlan(SampleStorage storage) : storage_(storage) {}

  /// False with LastErrorText when a waveform cannot be converted as the options ask, or all of them are too large.
  bool add(const std::vector<const Waveform*>& waveforms, TargetFile& file);
  /// Links samples of one channel that are the sides of one sound, by how these instruments play them and by name.
  void linkPairs(const std::vector<const Instrument*>& instruments);

  const std::vector<PlannedSample>& samples() const { return samples_; }
  SampleStorage storage() const { return storage_; }
  bool is24Bit() const { return is24Bit_; }
  /// Of a stream that has been written: its bytes in "smpl".
  void setStream(std::size_t sample, uint32_t start, uint32_t end);
  const WaveformSamples* of(ItemId waveform) const;
  /// What converting the waveforms turned out to have lost, once they have been written.
  void reportSilenced(ConversionReport& report) const;

 private:
  const Waveform* prepare(const Waveform& waveform, TargetFile& file);
  bool addWaveform(const Waveform& waveform, TargetFile& file);
  void addChannel(const Waveform& waveform, SampleRef frames, uint16_t type, std::string_view ending, TargetFile& file);
  int64_t framesOf(std::size_t sample) const;
  void link(std::size_t left, std::size_t right);
  void linkNamesakes();

  SampleStorage storage_;
  std::vector<PlannedSample> samples_;
  std::vector<std::unique_ptr<Waveform>> prepared_;
  std::unordered_map<ItemId, WaveformSamples> places_;
  uint64_t words_ = 0;
  bool is24Bit_ = false;
};

/// A text in the 20 bytes of a record, `ending` included; reports what has no room.
RecordName recordName(TextView name, std::string_view ending, ConversionReport& report);

}  // namespace tervo::sf2
