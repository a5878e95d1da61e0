// A simulated pulse: the velocity of the blood in a capillary, beat by beat, and the signal that a laser
// Doppler instrument would record of it, together with the truth of what was drawn. In each beat the velocity
// rises quickly from the diastolic to the systolic value and falls back in two steps without a second peak.
// The Doppler signal is that of many red cells which are seen for a moment each, at every speed from rest to
// the velocity of that moment (as the layers of a parabolic flow profile are equally frequent): its spectrum
// is level up to velocity * hertzPerMillimetre and holds but the noise above.
#pragma once

#include <cstdint>
#include <vector>

namespace tarnvisor {

// A number outside its range counts as the nearest bound.
struct DopplerPulse {
  double seconds = 40.0;               // 1..600
  double heartRate = 72.0;             // 20..300 beats a minute, on average
  double rateVariation = 0.04;         // 0..0.3: each beat comes by up to so much of a beat early or late
  double systolic = 0.9;               // 0..100 mm/s
  double diastolic = 0.3;              // 0..systolic, mm/s
  double velocityRate = 25.0;          // 1..1000 samples a second of the velocity
  double signalRate = 8000.0;          // 1..48000 samples a second of the Doppler signal
  double hertzPerMillimetre = 3420.0;  // 0..1e6: frequency shift of 1 mm/s; none may reach signalRate / 2
  int32_t cells = 24;                  // 1..1000 red cells in the beam at a time
  double noise = 0.02;                 // 0..10: deviation of the noise; the signal's is about 0.4
  uint64_t seed = 1;
};

struct DopplerTruth {
  std::vector<double> systoles;  // moments of greatest velocity within the time drawn, seconds, ascending
  double beatsPerMinute = 0;     // between the first and the last of them; 0 for fewer than two
};

struct DopplerSignals {
  std::vector<double> velocity;  // mm/s
  std::vector<double> signal;    // about -1..1, rarely beyond
};

// The same parameters give the same numbers on every machine. The velocity depends on the times, the
// velocities and the seed alone, whatever the Doppler signal is like.
DopplerSignals renderDoppler(const DopplerPulse& pulse, DopplerTruth& truth);

}  // namespace tarnvisor
