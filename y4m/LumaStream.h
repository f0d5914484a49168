// LumaStream: what a luminance-only YUV4MPEG2 stream of time samples needs besides its
// samples: the frame geometry, the exact frame rate and the field order. For interlaced
// video the rate is that of FRAMES, and a time sample is one field of
// SampleRows(order, height) rows; time sample 2f + i is field i of frame f in the order
// given (FieldLayout).
#ifndef Y4M_LUMASTREAM_H
#define Y4M_LUMASTREAM_H

#include <string>

#include "y4m/FieldLayout.h"
#include "y4m/Rational.h"

namespace ormel {
class VidsFile;
}

namespace y4m {

struct LumaStream {
    int width = 0;                              // samples in a row
    int height = 0;                             // rows of a whole frame
    Rational rate;                              // frames per second
    FieldOrder order = FieldOrder::kProgressive;

    int SampleHeight() const { return SampleRows(order, height); }
};

// The stream of an open vids sequence `name` as vidstool export writes it: its size,
// field order, and the rate kept from its import while it still agrees with the
// sequence's frame rate, else the likeliest N:D of that rate. false with *error (a
// phrase to follow the name) when the description cannot be read or gives no rate.
bool LumaStreamOfSequence(const std::string& name, const ormel::VidsFile& in, LumaStream* s,
                          std::string* error);

}  // namespace y4m

#endif
