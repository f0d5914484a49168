// Y4mHeader: parsing and writing of the YUV4MPEG2 stream header.
#include "y4m/Y4mHeader.h"

#include <cstring>
#include <sstream>

namespace y4m {

namespace {

const char kSignature[] = "YUV4MPEG2";

bool ParseSize(const std::string& v, int* out) {
    if (v.empty() || v.size() > 5 || v.find_first_not_of("0123456789") != std::string::npos)
        return false;
    const int x = std::stoi(v);
    if (x < 1 || x > kMaxPictureSize)
        return false;
    *out = x;
    return true;
}

// "N:D" with both terms non-negative: an aspect may be 0:0 (unknown).
bool ParseAspect(const std::string& v) {
    Rational r;
    return v == "0:0" || ParseRatio(v, &r);
}

}  // namespace

bool ChromaFromColorspace(const std::string& c, ormel::ChromaFormat* f) {
    if (c == "420jpeg" || c == "420paldv" || c == "420mpeg2" || c == "420")
        *f = ormel::YUV420;
    else if (c == "422")
        *f = ormel::YUV422;
    else if (c == "444")
        *f = ormel::YUV444;
    else if (c == "mono")
        *f = ormel::YUV400;
    else
        return false;
    return true;
}

const char* DefaultColorspace(ormel::ChromaFormat f) {
    switch (f) {
    case ormel::YUV422: return "422";
    case ormel::YUV444: return "444";
    case ormel::YUV400: return "mono";
    default: return "420jpeg";
    }
}

bool ParseY4mHeader(const std::string& line, Y4mHeader* h, std::string* error) {
    const size_t n = sizeof kSignature - 1;
    if (line.compare(0, n, kSignature) != 0 || (line.size() > n && line[n] != ' ')) {
        *error = "not a YUV4MPEG2 stream";
        return false;
    }
    Y4mHeader r;
    std::istringstream words(line.substr(n));
    std::string w;
    while (words >> w) {
        const std::string v = w.substr(1);
        switch (w[0]) {
        case 'W':
            if (!ParseSize(v, &r.width)) {
                *error = "bad width '" + w + "' in the YUV4MPEG2 header (1 to 16384)";
                return false;
            }
            break;
        case 'H':
            if (!ParseSize(v, &r.height)) {
                *error = "bad height '" + w + "' in the YUV4MPEG2 header (1 to 16384)";
                return false;
            }
            break;
        case 'F':
            r.hasRate = v != "0:0";
            if (r.hasRate && !ParseRatio(v, &r.rate)) {
                *error = "bad frame rate '" + w + "' in the YUV4MPEG2 header (N:D expected)";
                return false;
            }
            break;
        case 'I':
            if (v.size() != 1 || std::strchr("ptbm?", v[0]) == nullptr) {
                *error = "bad interlacing '" + w + "' in the YUV4MPEG2 header (Ip, It, Ib, Im or I?)";
                return false;
            }
            r.interlace = v[0];
            break;
        case 'A':
            if (!ParseAspect(v)) {
                *error = "bad pixel aspect '" + w + "' in the YUV4MPEG2 header (N:D expected)";
                return false;
            }
            r.aspect = v;
            break;
        case 'C':
            if (!ChromaFromColorspace(v, &r.format)) {
                *error = "unsupported colour space '" + w +
                         "' (8-bit 420jpeg, 420paldv, 420mpeg2, 420, 422, 444 and mono are "
                         "supported)";
                return false;
            }
            r.colorspace = v;
            break;
        case 'X':
            r.extensions.push_back(v);
            break;
        default:
            *error = "unknown parameter '" + w + "' in the YUV4MPEG2 header";
            return false;
        }
    }
    if (r.width == 0 || r.height == 0) {
        *error = std::string("the YUV4MPEG2 header gives no ") + (r.width == 0 ? "width (W)" : "height (H)");
        return false;
    }
    *h = r;
    return true;
}

std::string FormatY4mHeader(const Y4mHeader& h) {
    std::string s = std::string(kSignature) + " W" + std::to_string(h.width) + " H" +
                    std::to_string(h.height) + " F" + (h.hasRate ? h.rate.ToString() : "0:0");
    if (h.interlace != 0)
        s += std::string(" I") + h.interlace;
    if (!h.aspect.empty())
        s += " A" + h.aspect;
    if (!h.colorspace.empty())
        s += " C" + h.colorspace;
    for (const std::string& x : h.extensions)
        s += " X" + x;
    return s + "\n";
}

}  // namespace y4m
