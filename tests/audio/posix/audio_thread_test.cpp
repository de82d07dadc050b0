// What the audio thread does while it fills the buffers of a device.

#include <sys/prctl.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <linux/filter.h>
#include <linux/seccomp.h>

#include <cstddef>

#include "audio/output/mixer.h"
#include "audio/output/note_messages.h"
#include "audio/output/synth_front.h"
#include "audio/output/waveform_player.h"
#include "tests/audio/allocations.h"
#include "tests/audio/sound_lab.h"

namespace tervo::test {
namespace {

/// A synthesizer that is played along, one that performs, and a looped waveform at another rate, in 24-bit buffers.
class AudioThread : public testing::Test {
 protected:
  AudioThread() {
    lab.addSine(440, 0.1).articulation.set(P::send3Level, 0.5f);
    Waveform& waveform = *lab.collection.waveforms()[0];
    waveform.sampleRate = 44100;
    played = audio::SynthFront::create({.voices = 64, .workers = 1}, 48000, frames);
    performed = audio::SynthFront::create({.voices = 64, .workers = 1}, 48000, frames);
    looped = audio::WaveformPlayer::create(waveform, {.longestSeconds = 4});
    for (audio::SynthFront* synth : {played.get(), performed.get()})
      EXPECT_TRUE(synth->engine().loadInstrumentAs(*lab.instrument, audio::numberOnChannel(0), Loading::stopped));
    performed->perform(audio::notesInTurn({{60, 64, 67}, {62, 65, 69}}, 100, 0), std::nullopt);
    performed->endAfter(3);
    for (audio::AudioSource* source :
         {static_cast<audio::AudioSource*>(played.get()), static_cast<audio::AudioSource*>(performed.get()),
          static_cast<audio::AudioSource*>(looped.get())})
      EXPECT_TRUE(mixer.attach(*source));
  }

  /// Five seconds, with 64 keys pressed and released on the way; the shorter sources end.
  void play() {
    for (int turn = 0; turn < 500; ++turn) {
      const uint8_t message[] = {static_cast<uint8_t>(turn / 64 % 2 == 0 ? 0x90 : 0x80),
                                 static_cast<uint8_t>(30 + turn % 64), 100};
      audio::postFromKeyboard(*played, message, 0);
      sounding += mixer.fill(buffer);
    }
  }

  static constexpr uint32_t frames = 480;
  SoundLab lab;
  audio::Mixer mixer{{48000, 2, platform::AudioCoding::pcm24, 3}, frames};
  std::shared_ptr<audio::SynthFront> played, performed;
  std::shared_ptr<audio::WaveformPlayer> looped;
  std::vector<std::byte> buffer = std::vector<std::byte>(frames * 6);
  std::size_t sounding = 0;
};

/// From here on the kernel ends the process at any call but exit, and the clock where it cannot be read from memory.
bool forbidCalls() {
  sock_filter rules[] = {
      BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)),
      BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, SYS_exit, 2, 0), BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, SYS_clock_gettime, 1, 0),
      BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_KILL_PROCESS), BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW)};
  const sock_fprog program{std::size(rules), rules};
  return prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0 && prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &program) == 0;
}

TEST_F(AudioThread, AllocatesNothing) {
  EXPECT_EQ(allocationsOf([&] { play(); }), 0);
  EXPECT_EQ(sounding, 500u * frames);
}

TEST_F(AudioThread, MakesNoSystemCall) {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
  GTEST_SKIP() << "the sanitizer makes calls of its own";
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
  GTEST_SKIP() << "the sanitizer makes calls of its own";
#endif
#endif
  const pid_t child = fork();
  if (child == 0) {
    if (forbidCalls()) play();
    syscall(SYS_exit, 0);
  }
  int status = 0;
  ASSERT_EQ(waitpid(child, &status, 0), child);
  EXPECT_TRUE(WIFEXITED(status)) << "ended by signal " << WTERMSIG(status);
}

}  // namespace
}  // namespace tervo::test
