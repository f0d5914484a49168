// Y4mWriter: a YUV4MPEG2 stream written to any output stream: the header once, then
// each frame as a bare "FRAME" line and its planes Y, U, V. Both report whether the
// stream is still good, so a full disk or a closed pipe is noticed at the frame.
#ifndef Y4M_Y4MWRITER_H
#define Y4M_Y4MWRITER_H

#include <ostream>

#include "y4m/Frame.h"
#include "y4m/Y4mHeader.h"

namespace y4m {

bool WriteY4mHeader(std::ostream& out, const Y4mHeader& h);
bool WriteY4mFrame(std::ostream& out, const Frame& f);

}  // namespace y4m

#endif
