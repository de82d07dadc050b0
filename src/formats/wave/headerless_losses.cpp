#include "formats/wave/headerless_losses.h"

#include "core/waveform.h"
#include "formats/number_text.h"
#include "platform/path.h"

namespace tervo {

void reportHeaderlessLosses(const TargetFile& file, const Waveform& waveform, double readAtHz) {
  const auto dropped = [&](TextView what) { file.report.dropped(waveform.name, what, u"the file has no header"); };
  if (waveform.sampleRate != readAtHz)
    file.report.approximated(waveform.name, u"sample rate", numberText(waveform.sampleRate) + u" Hz",
                             u"not in the file, which is read as " + numberText(readAtHz) + u" Hz");
  if (waveform.channels() == 2) dropped(u"channel count");
  if (waveform.rootKey != 60 || waveform.fineTune != 0) dropped(u"root key and tuning");
  if (waveform.gain != 0) dropped(u"playback volume");
  if (!waveform.markers.empty()) dropped(u"markers and loops");
  for (std::size_t i = 0; i < tagCount; ++i) {
    const auto tag = static_cast<Tag>(i);
    if (tag != Tag::name && tag != Tag::sourceFile && !waveform.tags[tag].empty()) dropped(u"tag " + Text(nameOf(tag)));
  }
  if (waveform.tags.image) dropped(u"image");
  if (!waveform.foreignChunks.empty()) dropped(u"chunks of the source file");
}

void reportBytesLeftOver(const SourceFile& file, uint64_t bytes) {
  if (bytes == 0) return;
  file.report.dropped(platform::stemOf(file.path), u"bytes at the end: " + numberText(static_cast<double>(bytes)),
                      u"they do not make a whole frame");
}

}  // namespace tervo
