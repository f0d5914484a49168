// Rational: an exact frame rate or aspect ratio, as interchange formats write them.
// Rates travel as N:D so that 30000:1001 comes back as 30000:1001; a rate that exists
// only as a float (the vids record's frequency) is turned back into the N:D it most
// likely was by RationalFromRate.
#ifndef Y4M_RATIONAL_H
#define Y4M_RATIONAL_H

#include <string>

namespace y4m {

struct Rational {
    long long num = 0;
    long long den = 1;

    double Value() const { return static_cast<double>(num) / static_cast<double>(den); }
    std::string ToString() const;   // "N:D", as written
};

// Parses "N:D" (both positive 32-bit integers, kept unreduced as given). false on
// anything else.
bool ParseRatio(const std::string& text, Rational* r);

// Parses a rate given on the command line: "N:D", "N/D", an integer or a decimal
// number such as 29.97 (taken exactly, 2997:100). The result is positive; false
// otherwise.
bool ParseRate(const std::string& text, Rational* r);

// The N:D of a rate known only to about four decimals: k * 1000 / 1001 for the
// NTSC-family rates, an integer N:1, otherwise the value to 1/10000, reduced.
// rate must be positive.
Rational RationalFromRate(double rate);

// True when r is the rate a description reports as `reported` (kept to four decimals,
// perhaps halved from a field rate).
bool RateAgrees(const Rational& r, double reported);

}  // namespace y4m

#endif
