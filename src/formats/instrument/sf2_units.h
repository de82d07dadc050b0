#pragma once
// Units of SoundFont generators: absolute cents, timecents, and how both become the rounded numbers of the document.

namespace tervo::sf2 {

/// 13500 and above is 20000 Hz. Rounded to 10 Hz from 1000 Hz on, to 1 Hz from 100 Hz on, else to 0.01 Hz.
double hertzOf(int cents);
/// The nearest cents, 13500 for 20000 Hz and above.
int centsOf(double hertz);

/// Below -11999 is no time at all. Rounded to 0.1 s above 24 s and to 0.01 s above 2 s.
double secondsOf(int timecents);
/// The nearest timecents, -12000 for times that are shorter than any.
int timecentsOf(double seconds);

/// 2 to the power of steps / stepsPerOctave, and back.
double factorOf(double steps, double stepsPerOctave);
double stepsOf(double factor, double stepsPerOctave);

}  // namespace tervo::sf2
