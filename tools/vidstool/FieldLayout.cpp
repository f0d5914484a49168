// FieldLayout: splitting frames into time samples and weaving them back, row by row.
#include "tools/vidstool/FieldLayout.h"

#include <cstring>

namespace vidstool {

namespace {

int SampleRows(FieldOrder o, int frameRows) {
    return o == FieldOrder::kProgressive ? frameRows : (frameRows + 1) / 2;
}

bool Fits(const Frame& f, FieldOrder o, ormel::BaseImage& sample, int planes) {
    for (int c = 0; c < planes; ++c) {
        const ormel::CompType comp = static_cast<ormel::CompType>(c);
        if (sample.Width(comp) != f.Width(c) || sample.Height(comp) != SampleRows(o, f.Height(c)))
            return false;
    }
    return true;
}

int Planes(const Frame& f) { return f.format == ormel::YUV400 ? 1 : 3; }

}  // namespace

FieldOrder OrderOfLattice(bool interlaced, int verticalOffset) {
    if (!interlaced)
        return FieldOrder::kProgressive;
    return verticalOffset % 2 != 0 ? FieldOrder::kBottomFirst : FieldOrder::kTopFirst;
}

int SamplesPerFrame(FieldOrder o) { return o == FieldOrder::kProgressive ? 1 : 2; }

int FieldParity(FieldOrder o, int field) {
    switch (o) {
    case FieldOrder::kTopFirst: return field & 1;
    case FieldOrder::kBottomFirst: return (field + 1) & 1;
    default: return 0;
    }
}

char InterlaceLetter(FieldOrder o) {
    switch (o) {
    case FieldOrder::kTopFirst: return 't';
    case FieldOrder::kBottomFirst: return 'b';
    default: return 'p';
    }
}

bool FrameToSample(const Frame& f, FieldOrder o, int field, ormel::BaseImage& sample) {
    const int planes = Planes(f);
    if (!Fits(f, o, sample, planes))
        return false;
    const int step = SamplesPerFrame(o);
    const int parity = FieldParity(o, field);
    for (int c = 0; c < planes; ++c) {
        const int w = f.Width(c);
        const int frameRows = f.Height(c);
        const int rows = SampleRows(o, frameRows);
        const unsigned char* src = f.plane[c].data();
        unsigned char* dst = sample.GetArray(static_cast<ormel::CompType>(c));
        for (int j = 0; j < rows; ++j) {
            int y = step * j + parity;
            if (y >= frameRows)
                y = frameRows - 1;   // filler row of a short field
            std::memcpy(dst + static_cast<size_t>(w) * j, src + static_cast<size_t>(w) * y,
                        static_cast<size_t>(w));
        }
    }
    return true;
}

bool SampleToFrame(ormel::BaseImage& sample, FieldOrder o, int field, Frame& f) {
    const int planes = Planes(f);
    if (!Fits(f, o, sample, planes))
        return false;
    const int step = SamplesPerFrame(o);
    const int parity = FieldParity(o, field);
    for (int c = 0; c < planes; ++c) {
        const int w = f.Width(c);
        const int frameRows = f.Height(c);
        const int rows = SampleRows(o, frameRows);
        const unsigned char* src = sample.GetArray(static_cast<ormel::CompType>(c));
        unsigned char* dst = f.plane[c].data();
        for (int j = 0; j < rows; ++j) {
            const int y = step * j + parity;
            if (y < frameRows)   // the filler row of a short field has no place
                std::memcpy(dst + static_cast<size_t>(w) * y, src + static_cast<size_t>(w) * j,
                            static_cast<size_t>(w));
        }
    }
    return true;
}

}  // namespace vidstool
