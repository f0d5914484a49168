// Rational: parsing and formatting of N:D ratios and rates.
#include "y4m/Rational.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <numeric>

namespace y4m {

namespace {

constexpr long long kMaxTerm = INT32_MAX;

// Digits only, as a value not above kMaxTerm; false on anything else.
bool ParseTerm(const std::string& text, long long* v) {
    if (text.empty() || text.size() > 10)
        return false;
    long long x = 0;
    for (char ch : text) {
        if (ch < '0' || ch > '9')
            return false;
        x = x * 10 + (ch - '0');
    }
    if (x > kMaxTerm)
        return false;
    *v = x;
    return true;
}

bool ParsePair(const std::string& text, char sep, Rational* r) {
    const size_t at = text.find(sep);
    if (at == std::string::npos)
        return false;
    Rational q;
    if (!ParseTerm(text.substr(0, at), &q.num) || !ParseTerm(text.substr(at + 1), &q.den))
        return false;
    if (q.num < 1 || q.den < 1)
        return false;
    *r = q;
    return true;
}

Rational Reduced(long long num, long long den) {
    const long long g = std::gcd(num, den);
    return Rational{num / g, den / g};
}

}  // namespace

std::string Rational::ToString() const { return std::to_string(num) + ":" + std::to_string(den); }

bool ParseRatio(const std::string& text, Rational* r) { return ParsePair(text, ':', r); }

bool ParseRate(const std::string& text, Rational* r) {
    if (ParsePair(text, ':', r) || ParsePair(text, '/', r))
        return true;
    // A decimal number: integer part, optionally a point and up to six decimals.
    const size_t point = text.find('.');
    const std::string whole = text.substr(0, point);
    const std::string frac = point == std::string::npos ? "" : text.substr(point + 1);
    if (frac.size() > 6 || (point != std::string::npos && frac.empty()))
        return false;
    long long w = 0, f = 0;
    if (!ParseTerm(whole, &w) || (!frac.empty() && !ParseTerm(frac, &f)))
        return false;
    long long den = 1;
    for (size_t k = 0; k < frac.size(); ++k)
        den *= 10;
    const long long num = w * den + f;
    if (num < 1)
        return false;
    const Rational q = Reduced(num, den);
    if (q.num > kMaxTerm)
        return false;
    *r = q;
    return true;
}

Rational RationalFromRate(double rate) {
    // Description files keep four decimals: anything closer than that is the same rate.
    const double tolerance = 1e-4 * std::max(1.0, rate);
    const long long k = std::llround(rate * 1001.0 / 1000.0);
    if (k >= 1 && std::fabs(rate - static_cast<double>(k) * 1000.0 / 1001.0) < tolerance &&
        std::fabs(rate - static_cast<double>(k)) >= tolerance)
        return Rational{k * 1000, 1001};
    const long long n = std::llround(rate);
    if (n >= 1 && std::fabs(rate - static_cast<double>(n)) < tolerance)
        return Rational{n, 1};
    const long long tenThousandths = std::llround(rate * 10000.0);
    return Reduced(tenThousandths < 1 ? 1 : tenThousandths, 10000);
}

bool RateAgrees(const Rational& r, double reported) {
    return std::fabs(r.Value() - reported) <= 1e-4 * std::max(1.0, reported);
}

}  // namespace y4m
