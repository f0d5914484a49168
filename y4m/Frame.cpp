// Frame: plane geometry of the supported chroma formats.
#include "y4m/Frame.h"

namespace y4m {

int PlaneWidth(ormel::ChromaFormat f, int width, int c) {
    if (c == 0)
        return width;
    switch (f) {
    case ormel::YUV420:
    case ormel::YUV422: return (width + 1) / 2;
    case ormel::YUV444: return width;
    default: return 0;
    }
}

int PlaneHeight(ormel::ChromaFormat f, int height, int c) {
    if (c == 0)
        return height;
    switch (f) {
    case ormel::YUV420: return (height + 1) / 2;
    case ormel::YUV422:
    case ormel::YUV444: return height;
    default: return 0;
    }
}

size_t FrameBytes(ormel::ChromaFormat f, int width, int height) {
    size_t bytes = 0;
    for (int c = 0; c < 3; ++c)
        bytes += static_cast<size_t>(PlaneWidth(f, width, c)) *
                 static_cast<size_t>(PlaneHeight(f, height, c));
    return bytes;
}

const char* FormatName(ormel::ChromaFormat f) {
    switch (f) {
    case ormel::YUV420: return "4:2:0";
    case ormel::YUV422: return "4:2:2";
    case ormel::YUV444: return "4:4:4";
    case ormel::YUV400: return "4:0:0";
    default: return "unknown";
    }
}

Frame::Frame(ormel::ChromaFormat f, int w, int h) : format(f), width(w), height(h) {
    for (int c = 0; c < 3; ++c)
        plane[c].assign(static_cast<size_t>(Width(c)) * static_cast<size_t>(Height(c)), 0);
}

}  // namespace y4m
