#pragma once
// The progress of one part of the work as a part of the whole.

#include "core/host.h"

namespace tervo {

/// 0 to 1 become `from` to `to`; everything else goes on to the host.
class PartHost final : public Host {
 public:
  PartHost(Host& host, double from, double to) : host_(host), from_(from), to_(to) {}

  void showStatus(TextView text) override { host_.showStatus(text); }
  bool progress(double fraction) override { return host_.progress(from_ + (to_ - from_) * fraction); }
  std::size_t ask(const Question& question) override { return host_.ask(question); }
  std::optional<Text> locateFile(const FileRequest& request) override { return host_.locateFile(request); }
  std::vector<std::unique_ptr<Waveform>> render(const Item& item) override { return host_.render(item); }

 private:
  Host& host_;
  double from_, to_;
};

}  // namespace tervo
