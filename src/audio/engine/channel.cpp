#include "audio/engine/channel.h"

#include <algorithm>
#include <cmath>

namespace tervo::audio {
namespace {

// How far a value may move in one block.
constexpr float quickStep = 1.0f, halfStep = 0.5f, gainStep = 1.0f / 96;
constexpr uint32_t drumFlag = 1u << 21;
constexpr int drumChannel = 9;
constexpr int bendRangeParameter = 0, fineTuningParameter = 1, coarseTuningParameter = 2;

constexpr float squared(float x) {
  return x * x;
}

}  // namespace

float Channel::Pair::fraction() const {
  return hasFine ? static_cast<float>(coarse * 128 + fine) / 16383 : static_cast<float>(coarse) / 127;
}

Channel::Channel(int index) : number_(index == drumChannel ? drumFlag : 0) {
  constexpr uint8_t usualReverb = 40;  // General MIDI 2, section 4.3
  controllers_[Controller::volume] = volume_.coarse;
  controllers_[Controller::expression] = expression_.coarse;
  controllers_[Controller::pan] = pan_.coarse;
  updateGain(true);
  updatePan(true);
  setController(Controller::reverb, usualReverb, true);
}

void Channel::ramp(ChannelValue which, float target, float smoothing, bool immediate) noexcept {
  Ramp& ramp = ramps_[static_cast<std::size_t>(which)];
  if (ramp.blocksLeft > 0) --runningRamps_;
  ramp.target = target;
  ramp.blocksLeft = static_cast<int>(std::ceil(std::fabs(target - ramp.value) / smoothing));
  if (immediate || ramp.blocksLeft == 0) {
    ramp = {target, 0, 0, target};
    return;
  }
  ramp.step = (target - ramp.value) / static_cast<float>(ramp.blocksLeft);
  ++runningRamps_;
}

void Channel::advanceRamps() noexcept {
  if (runningRamps_ == 0) return;
  for (Ramp& ramp : ramps_) {
    if (ramp.blocksLeft == 0) continue;
    ramp.value += ramp.step;
    if (--ramp.blocksLeft > 0) continue;
    ramp.value = ramp.target;
    --runningRamps_;
  }
}

void Channel::setPair(Pair& pair, uint8_t controller, uint8_t value) noexcept {
  const bool isFine = controller >= Controller::fine;
  (isFine ? pair.fine : pair.coarse) = value;
  pair.hasFine = isFine;
}

void Channel::updateGain(bool immediate) noexcept {
  ramp(ChannelValue::gain, squared(volume_.fraction()) * squared(expression_.fraction()), gainStep, immediate);
}

void Channel::updatePan(bool immediate) noexcept {
  const int v = pan_.coarse;
  // Both 63 and 64 are the centre, so that both ends are reached.
  const float coarse = static_cast<float>((v < 64 ? v + 1 : v) - 64) / 63;
  const float exact = static_cast<float>(v * 128 + pan_.fine - 8192) / 8191;
  ramp(ChannelValue::pan, std::clamp(pan_.hasFine ? exact : coarse, -1.0f, 1.0f), halfStep, immediate);
}

void Channel::setBend(int value14, bool immediate) noexcept {
  const int b = value14 - 8192;
  ramp(ChannelValue::bend, static_cast<float>(b >= 1 ? b + 1 : b) / 8192, halfStep, immediate);
}

void Channel::setPressure(uint8_t value, bool immediate) noexcept {
  ramp(ChannelValue::pressure, static_cast<float>(value) / 127, quickStep, immediate);
}

void Channel::setController(uint8_t controller, uint8_t value, bool immediate) noexcept {
  controllers_[controller & 0x7F] = value;
  switch (controller) {
    case Controller::bankMsb:
      banks_ = (banks_ & ~(0x7Fu << 14)) | (static_cast<uint32_t>(value) << 14);
      break;
    case Controller::bankLsb:
      banks_ = (banks_ & ~(0x7Fu << 7)) | (static_cast<uint32_t>(value) << 7);
      break;
    case Controller::modulation:
    case Controller::modulation + Controller::fine:
      setPair(modulation_, controller, value);
      ramp(ChannelValue::modulation, modulation_.fraction(), quickStep, immediate);
      break;
    case Controller::portamentoTime:
    case Controller::portamentoTime + Controller::fine:
      setPair(portamento_, controller, value);
      break;
    case Controller::volume:
    case Controller::volume + Controller::fine:
      setPair(volume_, controller, value);
      updateGain(immediate);
      break;
    case Controller::expression:
    case Controller::expression + Controller::fine:
      setPair(expression_, controller, value);
      updateGain(immediate);
      break;
    case Controller::pan:
    case Controller::pan + Controller::fine:
      setPair(pan_, controller, value);
      updatePan(immediate);
      break;
    case Controller::reverb:
      ramp(ChannelValue::reverb, static_cast<float>(value) / 127, quickStep, immediate);
      break;
    case Controller::chorus:
      ramp(ChannelValue::chorus, static_cast<float>(value) / 127, quickStep, immediate);
      break;
    case Controller::dataEntry:
      // A coarse part resets the fine one, unless that was sent before it.
      data_ = {value, isFineFirst_ ? data_.fine : uint8_t{0}, true};
      isFineFirst_ = false;
      hasCoarse_ = true;
      enterData(immediate);
      break;
    case Controller::dataEntry + Controller::fine:
      data_.fine = value;
      isFineFirst_ = !hasCoarse_;
      enterData(immediate);
      break;
    case Controller::dataUp:
    case Controller::dataDown:
      stepData(controller == Controller::dataUp ? 1 : -1, immediate);
      break;
    case Controller::rpnLsb:
    case Controller::rpnMsb:
      select(controllers_[Controller::rpnMsb] * 128 + controllers_[Controller::rpnLsb]);
      break;
    case Controller::nrpnLsb:
    case Controller::nrpnMsb:
      selected_ = -1;
      break;
    default:
      break;
  }
}

void Channel::setProgram(uint8_t program) noexcept {
  number_ = (number_ & drumFlag) | banks_ | program;
}

/// Data entry goes on from what the parameter has.
void Channel::select(int parameter) noexcept {
  constexpr uint8_t usualBendRange = 2, centre = 64;
  selected_ = parameter;
  isFineFirst_ = hasCoarse_ = false;
  data_ = {centre, 0, true};
  if (parameter == bendRangeParameter) {
    const int cents = static_cast<int>(std::lround(bendRange_ * 100));
    data_ = {bendRange_ < 0 ? usualBendRange : static_cast<uint8_t>(cents / 100), 0, true};
    if (bendRange_ >= 0) data_.fine = static_cast<uint8_t>(cents % 100);
  } else if (parameter == fineTuningParameter) {
    const int value = static_cast<int>(std::lround(fineTuning_ * 8192)) + 8192;
    data_ = {static_cast<uint8_t>(value / 128), static_cast<uint8_t>(value % 128), true};
  } else if (parameter == coarseTuningParameter) {
    data_.coarse = static_cast<uint8_t>(std::lround(coarseTuning_) + 64);
  }
}

void Channel::enterData(bool immediate) noexcept {
  if (selected_ == bendRangeParameter) bendRange_ = data_.coarse + data_.fine * 0.01f;
  if (selected_ == fineTuningParameter) fineTuning_ = static_cast<float>(data_.fine + (data_.coarse - 64) * 128) / 8192;
  if (selected_ == coarseTuningParameter) coarseTuning_ = static_cast<float>(data_.coarse - 64);
  ramp(ChannelValue::tuning, fineTuning_ + coarseTuning_, quickStep, immediate);
}

void Channel::stepData(int direction, bool immediate) noexcept {
  // One step is 1 of the finest unit in use: a cent of the bend range, 1/8192 of the tuning, a semitone.
  const bool isWhole = selected_ == coarseTuningParameter;
  const int base = selected_ == bendRangeParameter ? 100 : 128;
  const int value = (isWhole ? data_.coarse : data_.coarse * base + data_.fine) + direction;
  const int held = std::clamp(value, 0, isWhole ? 127 : 127 * base + base - 1);
  data_.coarse = static_cast<uint8_t>(isWhole ? held : held / base);
  if (!isWhole) data_.fine = static_cast<uint8_t>(held % base);
  enterData(immediate);
}

void Channel::resetControllers(bool immediate) noexcept {
  constexpr uint8_t usualVolume = 100, usualExpression = 127;
  setController(Controller::volume, usualVolume, immediate);
  setController(Controller::expression, usualExpression, immediate);
  setController(Controller::modulation, 0, immediate);
  for (const uint8_t pedal : {Controller::sustain, Controller::legato, Controller::hold2})
    setController(pedal, 0, immediate);
  setBend(8192, immediate);
}

float Channel::portamentoSeconds() const {
  if (!isDown(Controller::portamento)) return 0;
  return static_cast<float>(portamento_.coarse * 128 + portamento_.fine) * 0.001f;
}

}  // namespace tervo::audio
