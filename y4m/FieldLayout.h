// FieldLayout: how frames map onto the time samples of a vids sequence.
// Progressive: time sample k is frame k. Interlaced: every time sample is one field,
// half the lines of a frame; frame f becomes time samples 2f (the field shown first)
// and 2f + 1. Time sample k of a top-field-first sequence holds the lines of parity
// k % 2 (even lines are the top field); bottom-field-first shifts this by one line, so
// time sample 0 holds the odd lines. Chroma planes split the same way, by chroma row.
// A field of a frame with an odd number of rows (luma or chroma) gets one row more than
// its lines: the vids lattice gives every field ceil(rows / 2) rows. That row repeats
// the frame's last row and is dropped again when the field goes back into a frame.
#ifndef Y4M_FIELDLAYOUT_H
#define Y4M_FIELDLAYOUT_H

#include "image/BaseImage.h"
#include "y4m/Frame.h"
#include "y4m/Rational.h"

namespace y4m {

enum class FieldOrder { kProgressive, kTopFirst, kBottomFirst };

// The order of a sequence's lattice: interlaced with an odd vertical offset is bottom
// field first (time sample 0 starts one line down).
FieldOrder OrderOfLattice(bool interlaced, int verticalOffset);

int SamplesPerFrame(FieldOrder o);            // 1 or 2
// Parity (0 even, 1 odd) of the frame lines held by the field-th field (0 or 1) of a
// frame; 0 for progressive sequences.
int FieldParity(FieldOrder o, int field);
// The YUV4MPEG2 interlacing letter: p, t or b.
char InterlaceLetter(FieldOrder o);
// Time samples per second at a frame rate (fields when interlaced), as the float that a
// vids record keeps.
float SampleFrequency(const Rational& frameRate, FieldOrder o);

// Rows of one plane's time sample: frameRows when progressive, else (frameRows + 1) / 2.
int SampleRows(FieldOrder o, int frameRows);
// Copies the rows of a width x frameRows plane that its field-th time sample holds into
// sample (rows width apart, SampleRows of them, a short field's filler row included).
void SplitPlane(const unsigned char* frame, int width, int frameRows, FieldOrder o, int field,
                unsigned char* sample);
// The inverse: puts the rows of the field-th time sample back into the frame's plane.
void WeavePlane(const unsigned char* sample, int width, int frameRows, FieldOrder o, int field,
                unsigned char* frame);

// Copies the part of f held by its field-th time sample into sample, whose planes are
// sized as the sequence's time samples are. false (nothing copied) when the sizes do
// not match.
bool FrameToSample(const Frame& f, FieldOrder o, int field, ormel::BaseImage& sample);
// The inverse: puts the field-th time sample of a frame back into f.
bool SampleToFrame(ormel::BaseImage& sample, FieldOrder o, int field, Frame& f);

}  // namespace y4m

#endif
