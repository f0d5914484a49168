// Frame: one picture as raw planar and YUV4MPEG2 files hold it: 8-bit planes Y, U (Cb),
// V (Cr), each rows of width samples without padding. Chroma sizes round up for odd
// luminance sizes (a 5 x 3 picture in 4:2:0 has 3 x 2 chroma planes), which is also how
// the vids library counts the samples of a chroma lattice. A luminance-only frame has
// empty chroma planes.
#ifndef Y4M_FRAME_H
#define Y4M_FRAME_H

#include <cstddef>
#include <vector>

#include "image/Types.h"

namespace y4m {

// Plane sizes of component c (0 Y, 1 U, 2 V) of a width x height picture in format f,
// one of YUV400, YUV420, YUV422, YUV444.
int PlaneWidth(ormel::ChromaFormat f, int width, int c);
int PlaneHeight(ormel::ChromaFormat f, int height, int c);
// Bytes of one whole frame.
size_t FrameBytes(ormel::ChromaFormat f, int width, int height);
// "4:2:0", "4:2:2", "4:4:4", "4:0:0" (or "unknown").
const char* FormatName(ormel::ChromaFormat f);

struct Frame {
    ormel::ChromaFormat format = ormel::YUV420;
    int width = 0;
    int height = 0;
    std::vector<unsigned char> plane[3];

    Frame() = default;
    Frame(ormel::ChromaFormat f, int w, int h);   // zero-filled planes

    int Width(int c) const { return PlaneWidth(format, width, c); }
    int Height(int c) const { return PlaneHeight(format, height, c); }
};

}  // namespace y4m

#endif
