// Sound devices by the endpoint interface of Windows ("Core Audio APIs": MMDevice and WASAPI), event driven.

#include <windows.h>

#include <audioclient.h>
#include <endpointvolume.h>
#include <mmdeviceapi.h>

#include <algorithm>
#include <atomic>
#include <cstring>
#include <thread>

#include "base/last_error.h"
#include "platform/audio_backends.h"
#include "platform/system_error.h"
#include "platform/windows/com.h"
#include "platform/windows/endpoint_format.h"
#include "platform/windows/handle.h"
#include "platform/windows/wide.h"

namespace tervo::platform {
namespace {

constexpr double hundredNanoseconds = 1e7;  // units of REFERENCE_TIME a second
constexpr DWORD longestWait = 2000;         // milliseconds without an event: nobody plays any more
constexpr std::size_t longestName = 64;     // what the settings keep

// PKEY_Device_FriendlyName; the headers would define it only in one source of the program.
constexpr PROPERTYKEY friendlyName = {{0xa45c254e, 0xdf1c, 0x4efd, {0x80, 0x20, 0x67, 0xd1, 0x46, 0xa8, 0x50, 0xe0}},
                                      14};

ComPtr<IMMDeviceEnumerator> makeEnumerator() {
  ComPtr<IMMDeviceEnumerator> enumerator;
  CoCreateInstance(__uuidof(MMDeviceEnumerator), nullptr, CLSCTX_ALL, __uuidof(IMMDeviceEnumerator),
                   enumerator.putAny());
  return enumerator;
}

Text nameOf(IMMDevice& device) {
  ComPtr<IPropertyStore> properties;
  PROPVARIANT value{};
  Text name;
  if (FAILED(device.OpenPropertyStore(STGM_READ, properties.put()))) return name;
  if (SUCCEEDED(properties->GetValue(friendlyName, &value)) && value.vt == VT_LPWSTR) name = fromWide(value.pwszVal);
  PropVariantClear(&value);
  return name.substr(0, longestName);
}

ComPtr<IAudioClient> activate(IMMDevice& device) {
  ComPtr<IAudioClient> client;
  device.Activate(__uuidof(IAudioClient), CLSCTX_ALL, nullptr, client.putAny());
  return client;
}

std::optional<AudioFormat> mixFormatOf(IAudioClient& client) {
  WAVEFORMATEX* mix = nullptr;
  if (FAILED(client.GetMixFormat(&mix))) return std::nullopt;
  const auto format = fromWaveFormat(*mix);
  CoTaskMemFree(mix);
  return format;
}

/// Calls `take` with the devices that can play now, and whether each is the default one, until it returns true.
template <typename Take>
void forEachDevice(Take take) {
  const auto enumerator = makeEnumerator();
  ComPtr<IMMDeviceCollection> devices;
  UINT count = 0;
  if (!enumerator || FAILED(enumerator->EnumAudioEndpoints(eRender, DEVICE_STATE_ACTIVE, devices.put())) ||
      FAILED(devices->GetCount(&count)))
    return;
  ComPtr<IMMDevice> standard;
  enumerator->GetDefaultAudioEndpoint(eRender, eConsole, standard.put());
  LPWSTR standardId = nullptr;
  if (standard) standard->GetId(&standardId);
  for (UINT i = 0; i < count; ++i) {
    ComPtr<IMMDevice> device;
    LPWSTR id = nullptr;
    if (FAILED(devices->Item(i, device.put())) || FAILED(device->GetId(&id))) continue;
    const bool isStandard = standardId && std::wcscmp(id, standardId) == 0;
    CoTaskMemFree(id);
    if (take(std::move(device), isStandard)) break;
  }
  CoTaskMemFree(standardId);
}

class EndpointDevice final : public AudioDevice {
 public:
  explicit EndpointDevice(ComPtr<IMMDevice> device) : device_(std::move(device)) {}
  ~EndpointDevice() override {
    ending_ = End::now;
    join();
  }

  bool prepare(const AudioRequest& request);
  bool start(std::shared_ptr<AudioClient> client) override;
  bool finish() override;
  bool isLost() const override { return lost_; }
  std::optional<VolumeRange> volumeRange() const override;

 private:
  enum class End : uint8_t { notYet, whenPlayed, now };

  bool prepareShared(const AudioRequest& request);
  bool prepareExclusive(const AudioRequest& request);
  HRESULT initialize(AUDCLNT_SHAREMODE mode, DWORD flags, REFERENCE_TIME duration);
  HRESULT initializeAligned(REFERENCE_TIME duration);
  bool openForEvents();
  void join();
  void run();
  bool play();
  bool handOver(UINT32 frames);

  ComThread com_;
  ComPtr<IMMDevice> device_;
  ComPtr<IAudioClient> audio_;
  ComPtr<IAudioRenderClient> render_;
  Handle ready_;
  bool isExclusive_ = false;
  UINT32 deviceFrames_ = 0;  ///< what the device's own buffer holds
  std::shared_ptr<AudioClient> client_;
  std::thread thread_;
  std::atomic<End> ending_{End::notYet};
  std::atomic<bool> lost_{false};
};

HRESULT EndpointDevice::initialize(AUDCLNT_SHAREMODE mode, DWORD flags, REFERENCE_TIME duration) {
  audio_ = activate(*device_.get());
  if (!audio_) return E_FAIL;
  const WAVEFORMATEXTENSIBLE format = toWaveFormat(format_);
  const REFERENCE_TIME period = mode == AUDCLNT_SHAREMODE_EXCLUSIVE ? duration : 0;
  return audio_->Initialize(mode, flags | AUDCLNT_STREAMFLAGS_EVENTCALLBACK, duration, period, &format.Format, nullptr);
}

/// The system mixes at its own rate and channel count; what differs it converts, where it can.
bool EndpointDevice::prepareShared(const AudioRequest& request) {
  const AudioFormat mix = format_;
  if (request.sampleRate) format_.sampleRate = request.sampleRate;
  if (request.channels > 0) format_.channels = request.channels;
  format_.coding = request.coding.value_or(AudioCoding::float32);
  format_.bytesPerSample = bytesOf(format_.coding);
  // One period is being played, one is ready and one is being filled.
  const auto duration = static_cast<REFERENCE_TIME>(3 * request.bufferSeconds * hundredNanoseconds);
  constexpr DWORD convert = 0x80000000 | 0x08000000;  // AUTOCONVERTPCM, SRC_DEFAULT_QUALITY
  if (SUCCEEDED(initialize(AUDCLNT_SHAREMODE_SHARED, 0, duration)) ||
      SUCCEEDED(initialize(AUDCLNT_SHAREMODE_SHARED, convert, duration)))
    return true;
  format_ = mix;
  return SUCCEEDED(initialize(AUDCLNT_SHAREMODE_SHARED, 0, duration));
}

/// A device may want its buffer in units of its own; it then says which length comes next.
HRESULT EndpointDevice::initializeAligned(REFERENCE_TIME duration) {
  const HRESULT first = initialize(AUDCLNT_SHAREMODE_EXCLUSIVE, 0, duration);
  UINT32 frames = 0;
  if (first != AUDCLNT_E_BUFFER_SIZE_NOT_ALIGNED || FAILED(audio_->GetBufferSize(&frames))) return first;
  const double aligned = hundredNanoseconds * frames / format_.sampleRate + 0.5;
  return initialize(AUDCLNT_SHAREMODE_EXCLUSIVE, 0, static_cast<REFERENCE_TIME>(aligned));
}

bool EndpointDevice::prepareExclusive(const AudioRequest& request) {
  isExclusive_ = true;
  struct Layout {
    AudioCoding coding;
    int bytes;
  };
  constexpr Layout layouts[] = {{AudioCoding::pcm24, 4},
                                {AudioCoding::pcm24, 3},
                                {AudioCoding::pcm16, 2},
                                {AudioCoding::pcm32, 4},
                                {AudioCoding::float32, 4}};
  if (request.sampleRate) format_.sampleRate = request.sampleRate;
  if (request.channels > 0) format_.channels = request.channels;
  REFERENCE_TIME usual = 0, shortest = 0;
  audio_->GetDevicePeriod(&usual, &shortest);
  const auto duration = std::max(static_cast<REFERENCE_TIME>(request.bufferSeconds * hundredNanoseconds), shortest);
  for (const Layout& layout : layouts) {
    if (request.coding && *request.coding != layout.coding) continue;
    format_.coding = layout.coding;
    format_.bytesPerSample = layout.bytes;
    if (SUCCEEDED(initializeAligned(duration))) return true;
  }
  return fail(u"Could not enable audio device exclusive mode");
}

bool EndpointDevice::openForEvents() {
  ready_ = Handle(CreateEventW(nullptr, FALSE, FALSE, nullptr));
  return ready_ && SUCCEEDED(audio_->SetEventHandle(ready_.get())) &&
         SUCCEEDED(audio_->GetBufferSize(&deviceFrames_)) &&
         SUCCEEDED(audio_->GetService(__uuidof(IAudioRenderClient), render_.putAny()));
}

bool EndpointDevice::prepare(const AudioRequest& request) {
  audio_ = activate(*device_.get());
  if (!audio_) return fail(u"The audio device does not answer");
  format_ = mixFormatOf(*audio_.get()).value_or(AudioFormat{48000, 2, AudioCoding::float32, 4});
  if (request.share == AudioShare::exclusive) {
    if (!prepareExclusive(request)) return false;
  } else if (!prepareShared(request)) {
    return fail(u"The audio device takes none of the formats");
  }
  if (!openForEvents()) return fail(u"The audio device does not answer");
  bufferFrames_ =
      isExclusive_ ? deviceFrames_ : std::min(framesOf(request.bufferSeconds, format_.sampleRate), deviceFrames_);
  return true;
}

bool EndpointDevice::start(std::shared_ptr<AudioClient> client) {
  client_ = std::move(client);
  return startThread(thread_, [this] { run(); }) || fail(u"Could not start a thread");
}

/// False when the device is gone.
bool EndpointDevice::handOver(UINT32 frames) {
  if (frames == 0) return true;
  BYTE* buffer = nullptr;
  if (FAILED(render_->GetBuffer(frames, &buffer))) return false;
  client_->fill({reinterpret_cast<std::byte*>(buffer), frames * format_.bytesPerFrame()});
  return SUCCEEDED(render_->ReleaseBuffer(frames, 0));
}

/// False when the device is gone.
bool EndpointDevice::play() {
  // In exclusive mode each event asks for a whole buffer, the first one before the device runs.
  if (!handOver(deviceFrames_) || FAILED(audio_->Start())) return false;
  int eventsLeft = 2;  // exclusive: until the last buffer has been played
  while (ending_ != End::now) {
    if (WaitForSingleObject(ready_.get(), longestWait) != WAIT_OBJECT_0) return false;
    UINT32 padding = 0;
    if (FAILED(audio_->GetCurrentPadding(&padding))) return false;
    if (ending_ == End::whenPlayed) {
      if (isExclusive_ ? eventsLeft-- == 0 : padding == 0) break;
      continue;
    }
    if (!handOver(isExclusive_ ? deviceFrames_ : deviceFrames_ - padding)) return false;
  }
  return SUCCEEDED(audio_->Stop());
}

void EndpointDevice::run() {
  const ComThread com;
  const AudioThreadScope scope;
  if (!play()) lost_ = true;
}

void EndpointDevice::join() {
  if (ready_) SetEvent(ready_.get());
  if (thread_.joinable()) thread_.join();
}

bool EndpointDevice::finish() {
  ending_ = End::whenPlayed;
  join();
  return !lost_ || fail(u"The audio device was lost");
}

std::optional<VolumeRange> EndpointDevice::volumeRange() const {
  ComPtr<IAudioEndpointVolume> volume;
  VolumeRange range{};
  device_.get()->Activate(__uuidof(IAudioEndpointVolume), CLSCTX_ALL, nullptr, volume.putAny());
  if (!volume || FAILED(volume->GetVolumeRange(&range.lowest, &range.highest, &range.step))) return std::nullopt;
  return range;
}

}  // namespace

std::vector<AudioDeviceInfo> audioDevices() {
  const ComThread com;
  std::vector<AudioDeviceInfo> found;
  forEachDevice([&](const ComPtr<IMMDevice>& device, bool isDefault) {
    const auto client = activate(*device.get());
    const auto mix = client ? mixFormatOf(*client.get()) : std::nullopt;
    const AudioFormat format = mix.value_or(AudioFormat{});
    found.push_back({nameOf(*device.get()), isDefault, format.sampleRate, format.channels, {}});
    return false;
  });
  return found;
}

std::unique_ptr<AudioDevice> openSystemDevice(const AudioRequest& request) {
  const ComThread com;
  std::unique_ptr<EndpointDevice> opened;
  forEachDevice([&](ComPtr<IMMDevice> device, bool isDefault) {
    if (request.device.empty() ? !isDefault : nameOf(*device.get()) != request.device) return false;
    opened = std::make_unique<EndpointDevice>(std::move(device));
    return true;
  });
  if (!opened) return fail(u"There is no such audio device");
  if (!opened->prepare(request)) return nullptr;
  return opened;
}

}  // namespace tervo::platform
