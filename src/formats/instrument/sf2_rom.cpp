#include "formats/instrument/sf2_rom.h"

#include "base/last_error.h"
#include "platform/current_folder.h"
#include "platform/file.h"
#include "platform/path.h"

namespace tervo::sf2 {
namespace {

constexpr TextView romFile = u"1mgm.sf2";

bool wantsRom(Host& host) {
  static constexpr TextView buttons[] = {u"Use 1mgm.sf2", u"Skip"};
  return host.ask({u"This SoundFont references ROM waveforms.\n\nWould you like to skip these, or load them from "
                   u"\"1mgm.sf2\"?\n(i.e. the AWE32 ROM equivalent from the SB Live-drivers)",
                   buttons, 1}) == 0;
}

bool isPlain(const ByteSource& bank) {
  FourCC form;
  bank.readAt(8, std::as_writable_bytes(std::span(form.chars)));
  return form == FourCC("sfbk");
}

std::unique_ptr<Bank> openRomBank(TextView path) {
  const auto source = platform::InputFile::open(path);
  if (!source) return nullptr;
  Tags ignoredTags;
  LossTally ignoredLosses;
  auto bank = loadBank(source, ignoredTags, ignoredLosses);
  // A bank that only refers to the ROM itself is of no use, nor is a compressed one.
  if (bank && (bank->words == 0 || !isPlain(*source))) bank.reset();
  return bank;
}

}  // namespace

void RomSamples::find(LossTally& losses) {
  looked_ = true;
  if (!wantsRom(file_.host)) return losses.dropped(u"ROM samples", u"skipped as chosen");
  const SilentFailures silent;
  bank_ = openRomBank(platform::join(platform::currentFolder(), romFile));
  if (bank_) return;
  const auto chosen = file_.host.locateFile({u"Please locate 1mgm.sf2", u"*.sf2"});
  if (!chosen) return losses.dropped(u"ROM samples", u"1mgm.sf2 is not there");
  bank_ = openRomBank(*chosen);
  if (bank_) return;
  static constexpr TextView invalid = u"Invalid 1mgm.sf2 - skipping ROM", buttons[] = {u"OK"};
  file_.host.ask({invalid, buttons, 0});
  losses.dropped(u"ROM samples", invalid);
}

std::unique_ptr<Waveform> RomSamples::load(std::size_t index, LossTally& losses) {
  if (!looked_) find(losses);
  if (!bank_) return nullptr;
  if (index >= bank_->samples.size() || (bank_->samples[index].type & romSample)) {
    losses.dropped(u"ROM sample", u"it is not in 1mgm.sf2");
    return nullptr;
  }
  const SilentFailures silent;
  return makeWaveform(*bank_, bank_->samples[index], losses);
}

}  // namespace tervo::sf2
