#include "core/parameter_table.h"

#include <algorithm>
#include <cmath>

namespace tervo {
namespace {

using E = EditorKind;
using U = ParameterUnit;
using namespace ParameterFlags;

}  // namespace

// Names and hints are what users and their scripts know; slips in them ("hi-ley", "Aftertrouch", "payed", the fourth
// LFO and the fourth send bearing the third one's name) stay.
// clang-format off
constexpr std::array<ParameterRow, parameterCount> ParameterTable = {{
    // index, editor, unit, flags, control, default, minimum, maximum, name, hint
    // Pitch
    {  0, E::amount,        U::semitones, Signed,                         4100,      0,       -48,     48, u"Master tuning Pitch adjustment"},
    {  1, E::amount,        U::semitones, Signed | Modulation | AtNoteOn, 4101,      1,       -12,     12, u"Key to Pitch", u"Semitones per key, centered on Root key"},
    {  2, E::amount,        U::semitones, Signed | Modulation,            4102,      2,       -96,     96, u"Pitch bender to Pitch"},
    {  3, E::amount,        U::semitones, Signed | Modulation,            4103,      0,       -96,     96, u"P-LFO to Pitch"},
    {  4, E::amount,        U::semitones, Signed | Modulation,            4104,      0,       -96,     96, u"Mod wheel to P-LFO to Pitch"},
    {  5, E::amount,        U::semitones, Signed | Modulation,            4105,      0,       -96,     96, u"Aftertouch to P-LFO to Pitch"},
    {  6, E::amount,        U::semitones, Signed | Modulation | AtNoteOn, 4106,      0,       -96,     96, u"Velocity to P-LFO to Pitch", u"Bipolar source"},
    {  7, E::amount,        U::semitones, Signed | Modulation,            4107,      0,       -96,     96, u"X-LFO to Pitch"},
    {  8, E::amount,        U::semitones, Signed | Modulation,            4108,      0,       -96,     96, u"Mod wheel to X-LFO to Pitch"},
    {  9, E::amount,        U::semitones, Signed | Modulation,            4109,      0,       -96,     96, u"Aftertouch to X-LFO to Pitch"},
    { 10, E::amount,        U::semitones, Signed | Modulation | AtNoteOn, 4110,      0,       -96,     96, u"Velocity to X-LFO to Pitch", u"Bipolar source"},
    { 11, E::amount,        U::semitones, Signed | Modulation,            4111,      0,       -96,     96, u"P-ENV to Pitch"},
    { 12, E::amount,        U::semitones, Signed | Modulation | AtNoteOn, 4112,      0,       -96,     96, u"Velocity to P-ENV to Pitch", u"Bipolar source"},
    { 13, E::amount,        U::semitones, Modulation | AtNoteOn,          4113,      0,         0,     96, u"Random to Pitch", u"Bipolar source"},
    // Volume
    { 14, E::amount,        U::dB,        Signed,                         4114,      0,       -96,     96, u"Master Volume adjustment"},
    { 15, E::amount,        U::dB,        Signed | Modulation | AtNoteOn, 4115,     96,       -96,     96, u"Velocity to Volume", u"Special transform, negative inverts range"},
    { 16, E::amount,        U::dB,        Signed | Modulation | AtNoteOn, 4116,      0,       -24,     24, u"Key to Volume", u"dB per octave, centered on mid-C"},
    { 17, E::amount,        U::dB,        Signed | Modulation,            4117,      0,       -96,     96, u"Mod wheel to Volume"},
    { 18, E::amount,        U::dB,        Signed | Modulation,            4118,      0,       -96,     96, u"Aftertouch to Volume"},
    { 19, E::amount,        U::dB,        Signed | Modulation,            4119,      0,       -96,     96, u"V-LFO to Volume"},
    { 20, E::amount,        U::dB,        Signed | Modulation,            4120,      0,       -96,     96, u"Mod wheel to V-LFO to Volume"},
    { 21, E::amount,        U::dB,        Signed | Modulation,            4121,      0,       -96,     96, u"Aftertrouch to V-LFO to Volume"},
    { 22, E::amount,        U::dB,        Signed | Modulation | AtNoteOn, 4122,      0,       -96,     96, u"Velocity to V-LFO to Volume"},
    // Filter
    { 23, E::filterType,    U::none,      Choice,                         4123,      0,         0,     12, u"Filter type"},
    { 24, E::factor,        U::hertz,     0,                              4124,   8000,         8,  24000, u"Filter Cutoff frequency"},
    { 25, E::amount,        U::semitones, Signed | Modulation | AtNoteOn, 4125,      0,      -128,    128, u"Velocity to Filter Cutoff"},
    { 26, E::amount,        U::semitones, Signed | Modulation | AtNoteOn, 4126,      0,      -128,    128, u"Key number to Filter Cutoff", u"Centered on mid-C"},
    { 27, E::amount,        U::semitones, Signed | Modulation,            4127,      0,      -128,    128, u"Mod wheel to Filter Cutoff"},
    { 28, E::amount,        U::semitones, Signed | Modulation,            4128,      0,      -128,    128, u"Aftertouch to Filter Cutoff"},
    { 29, E::amount,        U::semitones, Signed | Modulation,            4129,      0,      -128,    128, u"F-LFO to Filter Cutoff"},
    { 30, E::amount,        U::semitones, Signed | Modulation,            4130,      0,      -128,    128, u"Mod wheel to F-LFO to Filter Cutoff"},
    { 31, E::amount,        U::semitones, Signed | Modulation,            4131,      0,      -128,    128, u"Aftertouch to F-LFO to Filter Cutoff"},
    { 32, E::amount,        U::semitones, Signed | Modulation | AtNoteOn, 4132,      0,      -128,    128, u"Velocity to F-LFO to Filter Cutoff"},
    { 33, E::amount,        U::semitones, Signed | Modulation,            4133,      0,      -128,    128, u"F-ENV to Filter Cutoff"},
    { 34, E::amount,        U::semitones, Signed | Modulation | AtNoteOn, 4134,      0,      -128,    128, u"Velocity to F-ENV to Filter Cutoff"},
    { 35, E::amount,        U::dB,        Signed,                         4135,      0,        -6,     96, u"Filter Resonance peak height"},
    { 36, E::amount,        U::dB,        Signed | Modulation | AtNoteOn, 4136,      0,       -96,     96, u"Velocity to Filter Resonance"},
    { 37, E::amount,        U::dB,        Signed | Modulation,            4137,      0,       -96,     96, u"Mod wheel to Filter Resonance"},
    { 38, E::amount,        U::dB,        Signed | Modulation,            4138,      0,       -96,     96, u"Aftertouch to Filter Resonance"},
    // Equalizer
    { 39, E::eqMode,        U::none,      Choice,                         4139,      0,         0,      2, u"EQ 1 Mode"},
    { 40, E::factor,        U::hertz,     0,                              4140,    120,        16,  24000, u"EQ 1 center Frequency"},
    { 41, E::amount,        U::dB,        Signed,                         4141,      0,       -24,     24, u"EQ 1 Gain"},
    { 42, E::factor,        U::none,      0,                              4142,  0.71f,     0.01f,     10, u"EQ 1 Q-value", u"Band-width is a function of Center frequency / Q"},
    { 43, E::eqMode,        U::none,      Choice,                         4143,      0,         0,      2, u"EQ 2 Mode"},
    { 44, E::factor,        U::hertz,     0,                              4144,    800,        16,  24000, u"EQ 2 center Frequency"},
    { 45, E::amount,        U::dB,        Signed,                         4145,      0,       -24,     24, u"EQ 2 Gain"},
    { 46, E::factor,        U::none,      0,                              4146,  0.71f,     0.01f,     10, u"EQ 2 Q-value", u"Band-width is a function of Center frequency / Q"},
    { 47, E::eqMode,        U::none,      Choice,                         4147,      0,         0,      2, u"EQ 3 Mode"},
    { 48, E::factor,        U::hertz,     0,                              4148,   5000,        16,  24000, u"EQ 3 center Frequency"},
    { 49, E::amount,        U::dB,        Signed,                         4149,      0,       -24,     24, u"EQ 3 Gain"},
    { 50, E::factor,        U::none,      0,                              4150,  0.71f,     0.01f,     10, u"EQ 3 Q-value", u"Band-width is a function of Center frequency / Q"},
    // Pan
    { 51, E::bipolar,       U::percent,   Signed,                         4151,      0,        -1,      1, u"Pan position", u"-100 % = full left, 0 % = centered, +100 % = full right"},
    { 52, E::bipolar,       U::percent,   Signed | Modulation,            4152,      1,        -1,      1, u"CC10 to Pan position"},
    { 53, E::bipolar,       U::percent,   Signed | Modulation | AtNoteOn, 4153,      0,        -1,      1, u"Key number to Pan position", u"Per octave, centered on mid-C"},
    { 54, E::bipolar,       U::percent,   Signed | Modulation,            4154,      0,        -1,      1, u"X-LFO to Pan position"},
    { 55, E::bipolar,       U::percent,   Signed | Modulation,            4155,      0,        -1,      1, u"X-ENV to Pan position"},
    { 56, E::level,         U::percent,   Modulation | AtNoteOn,          4156,      0,         0,      1, u"Random to Pan position"},
    // Effect sends; the fourth send bears the third one's number
    { 57, E::level,         U::percent,   0,                              4157,      0,         0,      1, u"Send channel 1 level"},
    { 58, E::level,         U::percent,   Modulation,                     4158,      1,         0,      1, u"CC91 to Send channel 1 level"},
    { 59, E::level,         U::percent,   0,                              4159,      0,         0,      1, u"Send channel 2 level"},
    { 60, E::level,         U::percent,   Modulation,                     4160,      1,         0,      1, u"CC92 to Send channel 2 level"},
    { 61, E::level,         U::percent,   0,                              4161,      0,         0,      1, u"Send channel 3 level"},
    { 62, E::level,         U::percent,   Modulation,                     4162,      1,         0,      1, u"CC93 to Send channel 3 level"},
    { 63, E::level,         U::percent,   0,                              4163,      0,         0,      1, u"Send channel 3 level"},
    { 64, E::level,         U::percent,   Modulation,                     4164,      1,         0,      1, u"CC94 to Send channel 3 level"},
    // LFOs; the fourth, the X-LFO, bears the F-LFO's name
    { 65, E::lfoShape,      U::none,      Choice,                         4165,      0,         0,    255, u"P-LFO Wave Shape"},
    { 66, E::factor,        U::hertz,     0,                              4166,      5,     0.01f,     20, u"P-LFO Frequency"},
    { 67, E::time,          U::seconds,   0,                              4167,      0,         0,     10, u"P-LFO Delay Time"},
    { 68, E::time,          U::seconds,   0,                              4168,      0,         0,    100, u"P-LFO Ramp/fade-in Time"},
    { 69, E::lfoShape,      U::none,      Choice,                         4169,      0,         0,    255, u"V-LFO Wave Shape"},
    { 70, E::factor,        U::hertz,     0,                              4170,      5,     0.01f,     20, u"V-LFO Frequency"},
    { 71, E::time,          U::seconds,   0,                              4171,      0,         0,     10, u"V-LFO Delay Time"},
    { 72, E::time,          U::seconds,   0,                              4172,      0,         0,    100, u"V-LFO Ramp/fade-in Time"},
    { 73, E::lfoShape,      U::none,      Choice,                         4173,      0,         0,    255, u"F-LFO Wave Shape"},
    { 74, E::factor,        U::hertz,     0,                              4174,      5,     0.01f,     20, u"F-LFO Frequency"},
    { 75, E::time,          U::seconds,   0,                              4175,      0,         0,     10, u"F-LFO Delay Time"},
    { 76, E::time,          U::seconds,   0,                              4176,      0,         0,    100, u"F-LFO Ramp/fade-in Time"},
    { 77, E::lfoShape,      U::none,      Choice,                         4177,      0,         0,    255, u"F-LFO Wave Shape"},
    { 78, E::factor,        U::hertz,     0,                              4178,      5,     0.01f,     20, u"F-LFO Frequency"},
    { 79, E::time,          U::seconds,   0,                              4179,      0,         0,     10, u"F-LFO Delay Time"},
    { 80, E::time,          U::seconds,   0,                              4180,      0,         0,    100, u"F-LFO Ramp/fade-in Time"},
    // V-ENV
    { 81, E::level,         U::percent,   0,                              4004,      0,         0,      1, u"V-ENV Initial Level"},
    { 82, E::time,          U::seconds,   0,                              4005,      0,         0,    100, u"V-ENV Attack 1 Time"},
    { 83, E::factor,        U::factor,    Modulation | AtNoteOn,          4006,      1, 0.015625f,     64, u"V-ENV Velocity to Attack 1 Time", u"Time-quotient max/min velocity"},
    { 84, E::factor,        U::factor,    Modulation | AtNoteOn,          4007,      1,     0.25f,      4, u"V-ENV Key number to Attack 1 Time", u"Time-multiplier per octave"},
    { 85, E::level,         U::percent,   0,                              4008,      0,         0,      1, u"V-ENV Attack 1 Level"},
    { 86, E::time,          U::seconds,   0,                              4009,      0,         0,    100, u"V-ENV Attack 2 Time"},
    { 87, E::factor,        U::factor,    Modulation | AtNoteOn,          4010,      1, 0.015625f,     64, u"V-ENV Velocity to Attack 2 Time", u"Time-quotient max/min velocity"},
    { 88, E::factor,        U::factor,    Modulation | AtNoteOn,          4011,      1,     0.25f,      4, u"V-ENV Key number to Attack 2 Time", u"Time-multiplier per octave"},
    { 89, E::level,         U::percent,   0,                              4012,      1,         0,      1, u"V-ENV Attack 2 Level"},
    { 90, E::time,          U::seconds,   0,                              4013,      0,         0,    100, u"V-ENV Decay 1 Time"},
    { 91, E::factor,        U::factor,    Modulation | AtNoteOn,          4014,      1, 0.015625f,     64, u"V-ENV Velocity to Decay 1 Time", u"Time-quotient max/min velocity"},
    { 92, E::factor,        U::factor,    Modulation | AtNoteOn,          4015,      1,     0.25f,      4, u"V-ENV Key number to Decay 1 Time", u"Time-multiplier per octave"},
    { 93, E::level,         U::percent,   0,                              4016,      1,         0,      1, u"V-ENV Decay 1 Level"},
    { 94, E::time,          U::seconds,   0,                              4017,      0,         0,    100, u"V-ENV Decay 2 Time"},
    { 95, E::factor,        U::factor,    Modulation | AtNoteOn,          4018,      1, 0.015625f,     64, u"V-ENV Velocity to Decay 2 Time", u"Time-quotient max/min velocity"},
    { 96, E::factor,        U::factor,    Modulation | AtNoteOn,          4019,      1,     0.25f,      4, u"V-ENV Key number to Decay 2 Time", u"Time-multiplier per octave"},
    { 97, E::level,         U::percent,   0,                              4020,      1,         0,      1, u"V-ENV Sustain", u"Decay 2 Level"},
    { 98, E::time,          U::seconds,   0,                              4021,      0,         0,    100, u"V-ENV Release 1 Rate", u"Note: Time = Rate * Delta-Level"},
    { 99, E::level,         U::percent,   0,                              4022,      0,         0,      1, u"V-ENV Release 1 Level"},
    {100, E::time,          U::seconds,   0,                              4023,      0,         0,    100, u"V-ENV Release 2 Time"},
    {101, E::level,         U::percent,   0,                              4024,      0,         0,      1, u"V-ENV Release 2 Level"},
    {102, E::time,          U::seconds,   0,                              4025,      0,         0,    100, u"V-ENV Release 3 Time"},
    {103, E::level,         U::percent,   0,                              4026,      0,         0,      1, u"V-ENV Release 3 Level"},
    {104, E::factor,        U::factor,    Modulation | AtNoteOn,          4027,      1, 0.015625f,     64, u"V-ENV Velocity to total Release Time", u"Time-quotient max/min velocity"},
    {105, E::factor,        U::factor,    Modulation | AtNoteOn,          4028,      1,     0.25f,      4, u"V-ENV Key number to total Release Time", u"Time-multiplier per octave"},
    {106, E::releaseMode,   U::none,      Choice,                         4029,      0,         0,      1, u"V-ENV Release Mode"},
    {107, E::time,          U::seconds,   0,                              4030, 0.015f,         0,    100, u"Shutdown Rate", u"On note or key-exclusion, time from full volume to silent"},
    // P-ENV
    {108, E::bipolar,       U::percent,   Signed,                         4004,      0,        -1,      1, u"P-ENV Initial Level"},
    {109, E::time,          U::seconds,   0,                              4005,      0,         0,    100, u"P-ENV Attack 1 Time"},
    {110, E::factor,        U::factor,    Modulation | AtNoteOn,          4006,      1, 0.015625f,     64, u"P-ENV Velocity to Attack 1 Time", u"Time-quotient max/min velocity"},
    {111, E::factor,        U::factor,    Modulation | AtNoteOn,          4007,      1,     0.25f,      4, u"P-ENV Key number to Attack 1 Time", u"Time-multiplier per octave"},
    {112, E::bipolar,       U::percent,   Signed,                         4008,      0,        -1,      1, u"P-ENV Attack 1 Level"},
    {113, E::time,          U::seconds,   0,                              4009,      0,         0,    100, u"P-ENV Attack 2 Time"},
    {114, E::factor,        U::factor,    Modulation | AtNoteOn,          4010,      1, 0.015625f,     64, u"P-ENV Velocity to Attack 2 Time", u"Time-quotient max/min velocity"},
    {115, E::factor,        U::factor,    Modulation | AtNoteOn,          4011,      1,     0.25f,      4, u"P-ENV Key number to Attack 2 Time", u"Time-multiplier per octave"},
    {116, E::bipolar,       U::percent,   Signed,                         4012,      1,        -1,      1, u"P-ENV Attack 2 Level"},
    {117, E::time,          U::seconds,   0,                              4013,      0,         0,    100, u"P-ENV Decay 1 Time"},
    {118, E::factor,        U::factor,    Modulation | AtNoteOn,          4014,      1, 0.015625f,     64, u"P-ENV Velocity to Decay 1 Time", u"Time-quotient max/min velocity"},
    {119, E::factor,        U::factor,    Modulation | AtNoteOn,          4015,      1,     0.25f,      4, u"P-ENV Key number to Decay 1 Time", u"Time-multiplier per octave"},
    {120, E::bipolar,       U::percent,   Signed,                         4016,      1,        -1,      1, u"P-ENV Decay 1 Level"},
    {121, E::time,          U::seconds,   0,                              4017,      0,         0,    100, u"P-ENV Decay 2 Time"},
    {122, E::factor,        U::factor,    Modulation | AtNoteOn,          4018,      1, 0.015625f,     64, u"P-ENV Velocity to Decay 2 Time", u"Time-quotient max/min velocity"},
    {123, E::factor,        U::factor,    Modulation | AtNoteOn,          4019,      1,     0.25f,      4, u"P-ENV Key number to Decay 2 Time", u"Time-multiplier per octave"},
    {124, E::bipolar,       U::percent,   Signed,                         4020,      1,        -1,      1, u"P-ENV Sustain", u"Decay 2 Level"},
    {125, E::time,          U::seconds,   0,                              4021,      0,         0,    100, u"P-ENV Release 1 Rate", u"Note: Time = Rate * Delta-Level"},
    {126, E::bipolar,       U::percent,   Signed,                         4022,      0,        -1,      1, u"P-ENV Release 1 Level"},
    {127, E::time,          U::seconds,   0,                              4023,      0,         0,    100, u"P-ENV Release 2 Time"},
    {128, E::bipolar,       U::percent,   Signed,                         4024,      0,        -1,      1, u"P-ENV Release 2 Level"},
    {129, E::time,          U::seconds,   0,                              4025,      0,         0,    100, u"P-ENV Release 3 Time"},
    {130, E::bipolar,       U::percent,   Signed,                         4026,      0,        -1,      1, u"P-ENV Release 3 Level"},
    {131, E::factor,        U::factor,    Modulation | AtNoteOn,          4027,      1, 0.015625f,     64, u"P-ENV Velocity to total Release Time", u"Time-quotient max/min velocity"},
    {132, E::factor,        U::factor,    Modulation | AtNoteOn,          4028,      1,     0.25f,      4, u"P-ENV Key number to total Release Time", u"Time-multiplier per octave"},
    {133, E::releaseMode,   U::none,      Choice,                         4029,      0,         0,      1, u"P-ENV Release Mode"},
    {134, E::none,          U::none,      0,                                 0,      0,         0,      0, u""},
    // F-ENV
    {135, E::bipolar,       U::percent,   Signed,                         4004,      0,        -1,      1, u"F-ENV Initial Level"},
    {136, E::time,          U::seconds,   0,                              4005,      0,         0,    100, u"F-ENV Attack 1 Time"},
    {137, E::factor,        U::factor,    Modulation | AtNoteOn,          4006,      1, 0.015625f,     64, u"F-ENV Velocity to Attack 1 Time", u"Time-quotient max/min velocity"},
    {138, E::factor,        U::factor,    Modulation | AtNoteOn,          4007,      1,     0.25f,      4, u"F-ENV Key number to Attack 1 Time", u"Time-multiplier per octave"},
    {139, E::bipolar,       U::percent,   Signed,                         4008,      0,        -1,      1, u"F-ENV Attack 1 Level"},
    {140, E::time,          U::seconds,   0,                              4009,      0,         0,    100, u"F-ENV Attack 2 Time"},
    {141, E::factor,        U::factor,    Modulation | AtNoteOn,          4010,      1, 0.015625f,     64, u"F-ENV Velocity to Attack 2 Time", u"Time-quotient max/min velocity"},
    {142, E::factor,        U::factor,    Modulation | AtNoteOn,          4011,      1,     0.25f,      4, u"F-ENV Key number to Attack 2 Time", u"Time-multiplier per octave"},
    {143, E::bipolar,       U::percent,   Signed,                         4012,      1,        -1,      1, u"F-ENV Attack 2 Level"},
    {144, E::time,          U::seconds,   0,                              4013,      0,         0,    100, u"F-ENV Decay 1 Time"},
    {145, E::factor,        U::factor,    Modulation | AtNoteOn,          4014,      1, 0.015625f,     64, u"F-ENV Velocity to Decay 1 Time", u"Time-quotient max/min velocity"},
    {146, E::factor,        U::factor,    Modulation | AtNoteOn,          4015,      1,     0.25f,      4, u"F-ENV Key number to Decay 1 Time", u"Time-multiplier per octave"},
    {147, E::bipolar,       U::percent,   Signed,                         4016,      1,        -1,      1, u"F-ENV Decay 1 Level"},
    {148, E::time,          U::seconds,   0,                              4017,      0,         0,    100, u"F-ENV Decay 2 Time"},
    {149, E::factor,        U::factor,    Modulation | AtNoteOn,          4018,      1, 0.015625f,     64, u"F-ENV Velocity to Decay 2 Time", u"Time-quotient max/min velocity"},
    {150, E::factor,        U::factor,    Modulation | AtNoteOn,          4019,      1,     0.25f,      4, u"F-ENV Key number to Decay 2 Time", u"Time-multiplier per octave"},
    {151, E::bipolar,       U::percent,   Signed,                         4020,      1,        -1,      1, u"F-ENV Sustain", u"Decay 2 Level"},
    {152, E::time,          U::seconds,   0,                              4021,      0,         0,    100, u"F-ENV Release 1 Rate", u"Note: Time = Rate * Delta-Level"},
    {153, E::bipolar,       U::percent,   Signed,                         4022,      0,        -1,      1, u"F-ENV Release 1 Level"},
    {154, E::time,          U::seconds,   0,                              4023,      0,         0,    100, u"F-ENV Release 2 Time"},
    {155, E::bipolar,       U::percent,   Signed,                         4024,      0,        -1,      1, u"F-ENV Release 2 Level"},
    {156, E::time,          U::seconds,   0,                              4025,      0,         0,    100, u"F-ENV Release 3 Time"},
    {157, E::bipolar,       U::percent,   Signed,                         4026,      0,        -1,      1, u"F-ENV Release 3 Level"},
    {158, E::factor,        U::factor,    Modulation | AtNoteOn,          4027,      1, 0.015625f,     64, u"F-ENV Velocity to total Release Time", u"Time-quotient max/min velocity"},
    {159, E::factor,        U::factor,    Modulation | AtNoteOn,          4028,      1,     0.25f,      4, u"F-ENV Key number to total Release Time", u"Time-multiplier per octave"},
    {160, E::releaseMode,   U::none,      Choice,                         4029,      0,         0,      1, u"F-ENV Release Mode"},
    {161, E::none,          U::none,      0,                                 0,      0,         0,      0, u""},
    // X-ENV
    {162, E::bipolar,       U::percent,   Signed,                         4004,      0,        -1,      1, u"X-ENV Initial Level"},
    {163, E::time,          U::seconds,   0,                              4005,      0,         0,    100, u"X-ENV Attack 1 Time"},
    {164, E::factor,        U::factor,    Modulation | AtNoteOn,          4006,      1, 0.015625f,     64, u"X-ENV Velocity to Attack 1 Time", u"Time-quotient max/min velocity"},
    {165, E::factor,        U::factor,    Modulation | AtNoteOn,          4007,      1,     0.25f,      4, u"X-ENV Key number to Attack 1 Time", u"Time-multiplier per octave"},
    {166, E::bipolar,       U::percent,   Signed,                         4008,      0,        -1,      1, u"X-ENV Attack 1 Level"},
    {167, E::time,          U::seconds,   0,                              4009,      0,         0,    100, u"X-ENV Attack 2 Time"},
    {168, E::factor,        U::factor,    Modulation | AtNoteOn,          4010,      1, 0.015625f,     64, u"X-ENV Velocity to Attack 2 Time", u"Time-quotient max/min velocity"},
    {169, E::factor,        U::factor,    Modulation | AtNoteOn,          4011,      1,     0.25f,      4, u"X-ENV Key number to Attack 2 Time", u"Time-multiplier per octave"},
    {170, E::bipolar,       U::percent,   Signed,                         4012,      1,        -1,      1, u"X-ENV Attack 2 Level"},
    {171, E::time,          U::seconds,   0,                              4013,      0,         0,    100, u"X-ENV Decay 1 Time"},
    {172, E::factor,        U::factor,    Modulation | AtNoteOn,          4014,      1, 0.015625f,     64, u"X-ENV Velocity to Decay 1 Time", u"Time-quotient max/min velocity"},
    {173, E::factor,        U::factor,    Modulation | AtNoteOn,          4015,      1,     0.25f,      4, u"X-ENV Key number to Decay 1 Time", u"Time-multiplier per octave"},
    {174, E::bipolar,       U::percent,   Signed,                         4016,      1,        -1,      1, u"X-ENV Decay 1 Level"},
    {175, E::time,          U::seconds,   0,                              4017,      0,         0,    100, u"X-ENV Decay 2 Time"},
    {176, E::factor,        U::factor,    Modulation | AtNoteOn,          4018,      1, 0.015625f,     64, u"X-ENV Velocity to Decay 2 Time", u"Time-quotient max/min velocity"},
    {177, E::factor,        U::factor,    Modulation | AtNoteOn,          4019,      1,     0.25f,      4, u"X-ENV Key number to Decay 2 Time", u"Time-multiplier per octave"},
    {178, E::bipolar,       U::percent,   Signed,                         4020,      1,        -1,      1, u"X-ENV Sustain", u"Decay 2 Level"},
    {179, E::time,          U::seconds,   0,                              4021,      0,         0,    100, u"X-ENV Release 1 Rate", u"Note: Time = Rate * Delta-Level"},
    {180, E::bipolar,       U::percent,   Signed,                         4022,      0,        -1,      1, u"X-ENV Release 1 Level"},
    {181, E::time,          U::seconds,   0,                              4023,      0,         0,    100, u"X-ENV Release 2 Time"},
    {182, E::bipolar,       U::percent,   Signed,                         4024,      0,        -1,      1, u"X-ENV Release 2 Level"},
    {183, E::time,          U::seconds,   0,                              4025,      0,         0,    100, u"X-ENV Release 3 Time"},
    {184, E::bipolar,       U::percent,   Signed,                         4026,      0,        -1,      1, u"X-ENV Release 3 Level"},
    {185, E::factor,        U::factor,    Modulation | AtNoteOn,          4027,      1, 0.015625f,     64, u"X-ENV Velocity to total Release Time", u"Time-quotient max/min velocity"},
    {186, E::factor,        U::factor,    Modulation | AtNoteOn,          4028,      1,     0.25f,      4, u"X-ENV Key number to total Release Time", u"Time-multiplier per octave"},
    {187, E::releaseMode,   U::none,      Choice,                         4029,      0,         0,      1, u"X-ENV Release Mode"},
    {188, E::none,          U::none,      0,                                 0,      0,         0,      0, u""},
    // Trigger
    {189, E::triggerType,   U::none,      Choice,                         4289,      0,         0,     17, u"Playback trigger type"},
    {190, E::key,           U::none,      AtNoteOn,                       4290,      0,         0,    127, u"Trigger lo-key", u"Lowest key played"},
    {191, E::key,           U::none,      AtNoteOn,                       4291,    127,         0,    127, u"Trigger hi-ley", u"Highest key played"},
    {192, E::integer,       U::none,      AtNoteOn,                       4292,      0,         0,    127, u"Trigger lo-velocity", u"Lowest velocity played"},
    {193, E::integer,       U::none,      AtNoteOn,                       4293,    127,         0,    127, u"Trigger hi-velocity", u"Highest velocity payed"},
    {194, E::integer,       U::none,      AtNoteOn,                       4294,      0,         0,    126, u"Trigger X-fade-in range centered on lo-key"},
    {195, E::integer,       U::none,      AtNoteOn,                       4295,      0,         0,    126, u"Trigger X-fade-out range centered on hi-key"},
    {196, E::fadeFormula,   U::none,      Choice,                         4296,      0,         0,      1, u"Trigger key X-fade formula"},
    {197, E::integer,       U::none,      AtNoteOn,                       4297,      0,         0,    126, u"Trigger X-fade-in range centered on lo-velocity"},
    {198, E::integer,       U::none,      AtNoteOn,                       4298,      0,         0,    126, u"Trigger X-fade-out range centered on hi-velocity"},
    {199, E::fadeFormula,   U::none,      Choice,                         4299,      0,         0,      1, u"Trigger velocity X-fade formula"},
    {200, E::sustainSwitch, U::none,      Choice,                         4300,      0,         0,      2, u"Switch playback based on Sustain Pedal (Pedal 1 state)"},
    {201, E::time,          U::seconds,   AtNoteOn,                       4301,      0,         0,    100, u"Delay time before playback starts after the trigger"},
    {202, E::group,         U::none,      Choice,                         4302,      0,         0,  65535, u"Key exclusion group", u"0 = none"},
    {203, E::noteExclusion, U::none,      Choice,                         4303,      0,         0,      1, u"Note exclusion mode", u"Self exclusive = Stop previous notes on same key, Self non-exclusive = Allow multiple notes for same key"},
    // Marker
    {204, E::markerType,    U::none,      Choice,                         4304,      0,         0,      2, u"Marker type"},
    {205, E::text,          U::none,      Textual,                        4305,      0,         0,      0, u"Marker name"},
    {206, E::position,      U::none,      0,                              4306,      0,         0,  1e20f, u"Start point"},
    {207, E::position,      U::none,      0,                              4307,      1,         1,  1e20f, u"End point", u"First wavesample *after* the section range"},
    {208, E::loopType,      U::none,      Choice,                         4308,      0,         0,      3, u"Loop type"},
    {209, E::loopCount,     U::none,      0,                              4309,      0,         0,    255, u"Loop count", u"Loop infinitely, or Loop until key release"},
    {210, E::amount,        U::semitones, Signed,                         4310,      0,       -12,     12, u"Pitch adjustment during loop playback"},
    // Info tags
    {211, E::text,          U::none,      Textual,                        4311,      0,         0,      0, u"Name"},
    {212, E::text,          U::none,      Textual,                        4312,      0,         0,      0, u"Artist"},
    {213, E::text,          U::none,      Textual,                        4313,      0,         0,      0, u"Comments"},
    {214, E::text,          U::none,      Textual,                        4314,      0,         0,      0, u"Copyright"},
    {215, E::text,          U::none,      Textual,                        4315,      0,         0,      0, u"Engineer"},
    {216, E::text,          U::none,      Textual,                        4316,      0,         0,      0, u"Product", u"Album name"},
    {217, E::text,          U::none,      Textual,                        4317,      0,         0,      0, u"Source file on disk"},
    {218, E::picture,       U::none,      Textual,                        4318,      0,         0,      0, u"Image", u"Album cover"},
    // Waveform
    {219, E::integer,       U::hertz,     0,                              4319,  22050,         1, 768000, u"Waveform sample rate"},
    {220, E::key,           U::none,      0,                              4320,     60,         0,    127, u"Root key", u"Key number that plays at the original pitch"},
    {221, E::amount,        U::none,      Signed,                         4321,      0,      -100,    100, u"Playback Pitch adjustment", u"In steps of 1/100th of a semitone"},
    {222, E::amount,        U::dB,        Signed,                         4322,      0,       -96,     96, u"Playback Volume adjustment"},
    {223, E::dataFormat,    U::none,      Choice,                         4323,      1,         0,     21, u"Preferred data format for saving", u"Choose \"Auto\" as data format when saving to create files with mixed data types"},
    {224, E::marker,        U::none,      Choice,                         4324,      0,         0,      1, u"Select which loop to edit"},
    // Region waveform overrides
    {225, E::key,           U::none,      AtNoteOn,                       4325,      0,         0,    127, u"Waveform Root Key override"},
    {226, E::marker,        U::none,      Choice,                         4326,      0,         0,  65535, u"Play section", u"A position marker overrides the start, a section marker start and end"},
    {227, E::marker,        U::none,      Choice,                         4327,     -1,        -1,  65535, u"Loop section", u"Select which the part of the waveform to loop"},
    {228, E::group,         U::none,      Choice,                         4328,      0,         0,  65535, u"Phase group", u"0 = none; Waves in a group plays pitch locked to master"},
    {229, E::onOff,         U::none,      Choice,                         4329,      0,         0,      1, u"phase master"},
    // Instrument
    {230, E::onOff,         U::none,      Choice,                         4330,      0,         0,      1, u"Drum kit flag", u"Separate address space for drum channels"},
    {231, E::integer,       U::none,      0,                              4331,      0,         0,    127, u"Major MIDI bank number", u"MIDI CC 0"},
    {232, E::integer,       U::none,      0,                              4332,      0,         0,    127, u"Minor MIDI bank number", u"MIDI CC 32"},
    {233, E::integer,       U::none,      0,                              4333,      0,         0,    127, u"MIDI Program Change number", u"Here numbered 0..127, some say 1..128"},
}};
// clang-format on

namespace {

constexpr bool everyRow(bool (*holds)(const ParameterRow&)) {
  return std::all_of(ParameterTable.begin(), ParameterTable.end(), holds);
}

constexpr bool isSeparator(const ParameterRow& row) {
  return row.index == 134 || row.index == 161 || row.index == 188;
}

static_assert(ParameterTable.size() == 234);
static_assert(everyRow([](const ParameterRow& row) { return &row == &ParameterTable[row.index]; }));
static_assert(everyRow([](const ParameterRow& row) {
  return row.minimum <= row.defaultValue && row.defaultValue <= row.maximum;
}));
static_assert(everyRow([](const ParameterRow& row) {
  return isSeparator(row) == row.name.empty() && isSeparator(row) == (row.editor == E::none);
}));
static_assert(everyRow([](const ParameterRow& row) {
  return row.has(Choice) || row.has(Textual) || row.has(Signed) == (row.minimum < 0);
}));

// The four envelopes differ in the sign of their levels and in nothing else.
constexpr bool sameInAllEnvelopes(const ParameterRow& row) {
  constexpr int first = indexOf(ParameterId::vEnvInitialLevel), last = indexOf(ParameterId::vEnvReleaseMode);
  if (row.index < first || row.index > last) return true;
  for (std::size_t other = row.index + 27u; other < 188; other += 27) {
    const ParameterRow& twin = ParameterTable[other];
    if (twin.control != row.control || twin.defaultValue != row.defaultValue || twin.maximum != row.maximum ||
        twin.minimum != (row.editor == E::level ? -1 : row.minimum) || twin.hint != row.hint ||
        twin.name.substr(1) != row.name.substr(1)) {
      return false;
    }
  }
  return true;
}
static_assert(everyRow(sameInAllEnvelopes));

constexpr bool isNamed(ParameterId row, TextView name) {
  return ParameterTable[static_cast<std::size_t>(row)].name == name;
}
static_assert(isNamed(ParameterId::masterTuning, u"Master tuning Pitch adjustment"));
static_assert(isNamed(ParameterId::filterCutoff, u"Filter Cutoff frequency"));
static_assert(isNamed(ParameterId::vEnvSustain, u"V-ENV Sustain"));
static_assert(isNamed(ParameterId::triggerLowKey, u"Trigger lo-key"));
static_assert(isNamed(ParameterId::sampleRate, u"Waveform sample rate"));
static_assert(isNamed(ParameterId::program, u"MIDI Program Change number"));

bool isWhole(EditorKind editor) {
  return editor == E::integer || editor == E::key || editor == E::loopCount;
}

}  // namespace

TextView nameOf(ParameterUnit unit) {
  static constexpr std::array<TextView, 8> names = {u"", u"dB", u"st", u"x", u"%", u"Hz", u"s", u"ms"};
  return names[static_cast<std::size_t>(unit)];
}

std::optional<double> inRange(ParameterId id, double value) {
  const ParameterRow& row = rowOf(id);
  if (std::isnan(value) || row.has(Textual) || isSeparator(row)) return std::nullopt;
  const double clamped = std::clamp(value, double{row.minimum}, double{row.maximum});
  // A sample rate may have a fraction although it is edited as a whole number.
  const bool whole = (row.has(Choice) || isWhole(row.editor)) && id != ParameterId::sampleRate;
  return whole ? std::round(clamped) : clamped;
}

Text uniqueNameOf(ParameterId id) {
  const TextView name = rowOf(id).name;
  const auto bearsIt = [name](const ParameterRow& row) { return row.name == name; };
  const auto nth = 1 + std::count_if(ParameterTable.begin(), ParameterTable.begin() + indexOf(id), bearsIt);
  if (nth == 1 || name.empty()) return Text(name);
  return Text(name) + u" #" + fromUtf8(std::to_string(nth));
}

std::optional<ParameterId> findParameter(TextView uniqueName) {
  if (uniqueName.empty()) return std::nullopt;
  for (int index = 0; index < parameterCount; ++index) {
    const auto id = static_cast<ParameterId>(index);
    if (uniqueName.starts_with(rowOf(id).name) && uniqueNameOf(id) == uniqueName) return id;
  }
  return std::nullopt;
}

}  // namespace tervo
