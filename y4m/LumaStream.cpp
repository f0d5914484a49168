// LumaStream: the stream that an existing vids sequence exports as.
#include "y4m/LumaStream.h"

#include "image/VidsFile.h"
#include "y4m/SequenceDescription.h"
#include "y4m/StreamNotes.h"

namespace y4m {

bool LumaStreamOfSequence(const std::string& name, const ormel::VidsFile& in, LumaStream* s,
                          std::string* error) {
    SequenceDescription d;
    if (!d.Load(name)) {
        *error = "the description could not be read";
        return false;
    }
    const double reported = in.FrameRate();
    if (!(reported > 0)) {
        *error = "the description gives no frame rate";
        return false;
    }
    s->width = in.Width();
    s->height = in.Height();
    s->rate = RateOfSequence(LoadNotes(d), reported);
    s->order = OrderOfLattice(in.Interlaced(), d.VerticalOffset());
    return true;
}

}  // namespace y4m
