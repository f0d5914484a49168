// Y4mHeader: the stream header of a YUV4MPEG2 file, "YUV4MPEG2" followed by
// space-separated parameters W (width), H (height), F (frame rate N:D), I (interlacing
// p, t, b, m or ?), A (pixel aspect N:D), C (colour space) and X (free extensions),
// ended by a line feed. Only 8-bit 4:2:0, 4:2:2, 4:4:4 and mono colour spaces are
// accepted; a missing C means 420jpeg.
#ifndef Y4M_Y4MHEADER_H
#define Y4M_Y4MHEADER_H

#include <string>
#include <vector>

#include "image/Types.h"
#include "y4m/Rational.h"

namespace y4m {

// Largest width and height accepted from any input.
constexpr int kMaxPictureSize = 16384;

struct Y4mHeader {
    int width = 0;
    int height = 0;
    bool hasRate = false;           // F given and not 0:0
    Rational rate;
    char interlace = 0;             // I value, 0 when absent
    std::string aspect;             // A value as written, empty when absent
    std::string colorspace;         // C value as written, empty when absent
    ormel::ChromaFormat format = ormel::YUV420;   // from C
    std::vector<std::string> extensions;          // X values, without the X
};

// Parses a header line (without its line feed). On failure *error says why, in a phrase
// that follows the input's name ("IN: <error>").
bool ParseY4mHeader(const std::string& line, Y4mHeader* h, std::string* error);

// The header line, line feed included: W, H, F, then I, A, C when set, then each X.
std::string FormatY4mHeader(const Y4mHeader& h);

// Chroma format of a C value; false for colour spaces beyond 8-bit 4:2:0, 4:2:2, 4:4:4 and mono.
bool ChromaFromColorspace(const std::string& c, ormel::ChromaFormat* f);

// The C value written for a format when the input's own is not known.
const char* DefaultColorspace(ormel::ChromaFormat f);

}  // namespace y4m

#endif
