// FieldLayout: splitting frames into time samples and weaving them back, row by row.
#include "y4m/FieldLayout.h"

#include <cstring>

namespace y4m {

namespace {

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

float SampleFrequency(const Rational& frameRate, FieldOrder o) {
    const double rate = frameRate.Value();
    return static_cast<float>(o != FieldOrder::kProgressive ? 2.0 * rate : rate);
}

int SampleRows(FieldOrder o, int frameRows) {
    return o == FieldOrder::kProgressive ? frameRows : (frameRows + 1) / 2;
}

void SplitPlane(const unsigned char* frame, int width, int frameRows, FieldOrder o, int field,
                unsigned char* sample) {
    const int step = SamplesPerFrame(o);
    const int parity = FieldParity(o, field);
    const int rows = SampleRows(o, frameRows);
    const size_t w = static_cast<size_t>(width);
    for (int j = 0; j < rows; ++j) {
        int y = step * j + parity;
        if (y >= frameRows)
            y = frameRows - 1;   // filler row of a short field
        std::memcpy(sample + w * j, frame + w * y, w);
    }
}

void WeavePlane(const unsigned char* sample, int width, int frameRows, FieldOrder o, int field,
                unsigned char* frame) {
    const int step = SamplesPerFrame(o);
    const int parity = FieldParity(o, field);
    const int rows = SampleRows(o, frameRows);
    const size_t w = static_cast<size_t>(width);
    for (int j = 0; j < rows; ++j) {
        const int y = step * j + parity;
        if (y < frameRows)   // the filler row of a short field has no place
            std::memcpy(frame + w * y, sample + w * j, w);
    }
}

bool FrameToSample(const Frame& f, FieldOrder o, int field, ormel::BaseImage& sample) {
    const int planes = Planes(f);
    if (!Fits(f, o, sample, planes))
        return false;
    for (int c = 0; c < planes; ++c)
        SplitPlane(f.plane[c].data(), f.Width(c), f.Height(c), o, field,
                   sample.GetArray(static_cast<ormel::CompType>(c)));
    return true;
}

bool SampleToFrame(ormel::BaseImage& sample, FieldOrder o, int field, Frame& f) {
    const int planes = Planes(f);
    if (!Fits(f, o, sample, planes))
        return false;
    for (int c = 0; c < planes; ++c)
        WeavePlane(sample.GetArray(static_cast<ormel::CompType>(c)), f.Width(c), f.Height(c), o,
                   field, f.plane[c].data());
    return true;
}

}  // namespace y4m
