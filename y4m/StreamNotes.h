// StreamNotes: what a YUV4MPEG2 header says beyond the picture geometry, kept in a vids
// description as user variables so that export can write the header back as it was:
//   frame_rate      the exact frame rate N:D (frames, also for interlaced sequences)
//   pixel_aspect    the A value
//   y4m_colorspace  the C value (which 4:2:0 chroma siting, for instance)
//   y4m_interlace   the I value
//   y4m_extension   one X value each
// The field order itself is not a note: it is the sequence's sampling lattice.
#ifndef Y4M_STREAMNOTES_H
#define Y4M_STREAMNOTES_H

#include <string>
#include <vector>

#include "y4m/SequenceDescription.h"
#include "y4m/Y4mHeader.h"

namespace y4m {

// Adds the notes of h (its rate, interlacing, aspect, colour space and extensions) to d.
// Returns, one phrase each, the notes that did not fit into the description.
std::vector<std::string> StoreNotes(const Y4mHeader& h, SequenceDescription& d);

// The notes found in d, in a header whose width and height are 0; hasRate is false when
// d has no valid frame_rate.
Y4mHeader LoadNotes(const SequenceDescription& d);

// The exact frame rate of a sequence whose frame rate reads `reported` (positive): the
// one kept in the notes when it still agrees, else the likeliest N:D of the value.
Rational RateOfSequence(const Y4mHeader& notes, double reported);

}  // namespace y4m

#endif
