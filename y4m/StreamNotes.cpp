// StreamNotes: YUV4MPEG2 header values as vids user variables.
#include "y4m/StreamNotes.h"

namespace y4m {

namespace {

const char kRate[] = "frame_rate";
const char kAspect[] = "pixel_aspect";
const char kColorspace[] = "y4m_colorspace";
const char kInterlace[] = "y4m_interlace";
const char kExtension[] = "y4m_extension";

void Add(SequenceDescription& d, const char* name, const std::string& value,
         std::vector<std::string>* lost) {
    if (!d.AddVariable(name, value))
        lost->push_back(std::string(name) + " " + value);
}

}  // namespace

std::vector<std::string> StoreNotes(const Y4mHeader& h, SequenceDescription& d) {
    std::vector<std::string> lost;
    if (h.hasRate)
        Add(d, kRate, h.rate.ToString(), &lost);
    if (h.interlace != 0)
        Add(d, kInterlace, std::string(1, h.interlace), &lost);
    if (!h.aspect.empty())
        Add(d, kAspect, h.aspect, &lost);
    if (!h.colorspace.empty())
        Add(d, kColorspace, h.colorspace, &lost);
    for (const std::string& x : h.extensions)
        Add(d, kExtension, x, &lost);
    return lost;
}

Y4mHeader LoadNotes(const SequenceDescription& d) {
    Y4mHeader h;
    h.hasRate = ParseRatio(d.Variable(kRate), &h.rate);
    const std::string interlace = d.Variable(kInterlace);
    if (interlace.size() == 1)
        h.interlace = interlace[0];
    h.aspect = d.Variable(kAspect);
    h.colorspace = d.Variable(kColorspace);
    h.extensions = d.Variables(kExtension);
    return h;
}

Rational RateOfSequence(const Y4mHeader& notes, double reported) {
    if (notes.hasRate && RateAgrees(notes.rate, reported))
        return notes.rate;
    return RationalFromRate(reported);
}

}  // namespace y4m
