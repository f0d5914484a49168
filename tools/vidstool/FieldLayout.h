// FieldLayout: how frames map onto the time samples of a vids sequence.
// Progressive: time sample k is frame k. Interlaced: every time sample is one field,
// half the lines of a frame; frame f becomes time samples 2f (the field shown first)
// and 2f + 1. Time sample k of a top-field-first sequence holds the lines of parity
// k % 2 (even lines are the top field); bottom-field-first shifts this by one line, so
// time sample 0 holds the odd lines. Chroma planes split the same way, by chroma row.
// A field of a frame with an odd number of rows (luma or chroma) gets one row more than
// its lines: the vids lattice gives every field ceil(rows / 2) rows. That row repeats
// the frame's last row and is dropped again when the field goes back into a frame.
#ifndef VIDSTOOL_FIELDLAYOUT_H
#define VIDSTOOL_FIELDLAYOUT_H

#include "image/BaseImage.h"
#include "tools/vidstool/Frame.h"

namespace vidstool {

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

// Copies the part of f held by its field-th time sample into sample, whose planes are
// sized as the sequence's time samples are. false (nothing copied) when the sizes do
// not match.
bool FrameToSample(const Frame& f, FieldOrder o, int field, ormel::BaseImage& sample);
// The inverse: puts the field-th time sample of a frame back into f.
bool SampleToFrame(ormel::BaseImage& sample, FieldOrder o, int field, Frame& f);

}  // namespace vidstool

#endif
