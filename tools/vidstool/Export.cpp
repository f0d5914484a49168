// Export: a vids sequence of 8-bit samples as a YUV4MPEG2 stream.
#include <sys/stat.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <iostream>

#include "image/VidsFile.h"
#include "image/YUVImage.h"
#include "tools/vidstool/Commands.h"
#include "vids/vids.h"
#include "y4m/FieldLayout.h"
#include "y4m/SequenceDescription.h"
#include "y4m/StreamNotes.h"
#include "y4m/Y4mWriter.h"

namespace vidstool {

using namespace y4m;

namespace {

constexpr int kRead = 18;   // VidsFile::Read done

bool Exportable(ormel::ChromaFormat f) {
    return f == ormel::YUV400 || f == ormel::YUV420 || f == ormel::YUV422 || f == ormel::YUV444;
}

// The data file must hold every time sample the description announces: the library
// would read short samples without a word.
bool CheckDataSize(const std::string& name, const SequenceDescription& d, std::string* error) {
    const std::string pic = FilesOf(name).pic;
    struct stat st;
    if (stat(pic.c_str(), &st) != 0) {
        *error = pic + ": " + std::strerror(errno);
        return false;
    }
    const int64_t needed = d.DataBytes();
    if (static_cast<int64_t>(st.st_size) < needed) {
        *error = pic + " is truncated: it holds " + std::to_string(st.st_size) +
                 " bytes, the description needs " + std::to_string(needed);
        return false;
    }
    return true;
}

// True when path names one of the sequence's own files (writing it would destroy them).
bool IsSequenceFile(const std::string& path, const std::string& name) {
    struct stat out;
    if (stat(path.c_str(), &out) != 0)
        return false;
    const SequenceFiles f = FilesOf(name);
    for (const std::string& own : {f.des, f.pic}) {
        struct stat st;
        if (stat(own.c_str(), &st) == 0 && st.st_dev == out.st_dev && st.st_ino == out.st_ino)
            return true;
    }
    return false;
}

FieldOrder OrderOf(const ormel::VidsFile& in, const SequenceDescription& d, char given) {
    if (in.Interlaced() && given != 0)
        return given == 'b' ? FieldOrder::kBottomFirst : FieldOrder::kTopFirst;
    return OrderOfLattice(in.Interlaced(), d.VerticalOffset());
}

// The rate to write: the one asked for, else the exact one kept at import when it still
// agrees with the sequence's frequency, else the frequency's likeliest N:D.
bool RateOf(const ExportOptions& o, const ormel::VidsFile& in, const Y4mHeader& notes,
            Rational* rate, std::string* error) {
    if (o.rateGiven) {
        *rate = o.rate;
        return true;
    }
    const double reported = in.FrameRate();
    if (!(reported > 0)) {
        *error = o.input + " has no frame rate; give --rate";
        return false;
    }
    *rate = RateOfSequence(notes, reported);
    return true;
}

// The header of the exported stream: the sequence's geometry and the notes kept at import.
Y4mHeader HeaderOf(const ormel::VidsFile& in, FieldOrder order, const Y4mHeader& notes,
                   const Rational& rate) {
    Y4mHeader h;
    h.width = in.Width();
    h.height = in.Height();
    h.hasRate = true;
    h.rate = rate;
    h.format = in.CFormat();
    const bool keptInterlace = notes.interlace == 'm' || notes.interlace == '?';
    h.interlace = order == FieldOrder::kProgressive && keptInterlace ? notes.interlace
                                                                      : InterlaceLetter(order);
    h.aspect = notes.aspect;
    ormel::ChromaFormat noted;
    h.colorspace = ChromaFromColorspace(notes.colorspace, &noted) && noted == h.format
                       ? notes.colorspace
                       : DefaultColorspace(h.format);
    h.extensions = notes.extensions;
    return h;
}

// Reads every whole frame of in and writes it to out; false with *error.
bool CopyFrames(ormel::VidsFile& in, FieldOrder order, int frames, const Y4mHeader& h,
                std::ostream& out, const ExportOptions& o, std::string* error) {
    ormel::YUVImage sample(in);
    Frame frame(h.format, h.width, h.height);
    const std::string where = o.output == "-" ? std::string("standard output") : o.output;
    if (!WriteY4mHeader(out, h)) {
        *error = where + ": write failed";
        return false;
    }
    const int per = SamplesPerFrame(order);
    for (int f = 0; f < frames; ++f) {
        for (int field = 0; field < per; ++field) {
            const int k = f * per + field;
            if (in.Read(sample, k) != kRead || !SampleToFrame(sample, order, field, frame)) {
                *error = o.input + ": time sample " + std::to_string(k) + " could not be read";
                return false;
            }
        }
        if (!WriteY4mFrame(out, frame)) {
            *error = where + ": write failed";
            return false;
        }
    }
    out.flush();
    if (!out.good()) {
        *error = where + ": write failed";
        return false;
    }
    return true;
}

}  // namespace

int RunExport(const ExportOptions& o) {
    std::string error;
    if (!CheckReadable(o.input, &error))
        return Fail(error);
    SequenceDescription d;
    if (!d.Load(o.input))
        return Fail(o.input + ": the description could not be read");
    if (d.FileDataType() != IMG_FDT_OCTET)
        return Fail(o.input + " holds " + d.FileDataTypeName() +
                    " samples; only 8-bit (OCTET) sequences can be exported");
    if (!CheckDataSize(o.input, d, &error))
        return Fail(error);

    ormel::VidsFile in;
    if (in.Open(o.input, ormel::OPEN_OLD) & 1)
        return Fail(o.input + ": the sequence could not be opened");
    if (!Exportable(in.CFormat()))
        return Fail(o.input + ": only 4:2:0, 4:2:2, 4:4:4 and luminance-only sequences can be exported");
    if (o.fieldOrder != 0 && !in.Interlaced())
        return Fail(o.input + " is progressive: --field-order applies to interlaced sequences");
    const FieldOrder order = OrderOf(in, d, o.fieldOrder);
    const int samples = in.NumberOfImages();
    const int frames = samples / SamplesPerFrame(order);
    if (frames == 0)
        return Fail(o.input + " holds no whole frame");
    if (samples % SamplesPerFrame(order) != 0)
        Warn(o.input + " has an odd number of fields (" + std::to_string(samples) +
             "); the last one is left out");

    const Y4mHeader notes = LoadNotes(d);
    Rational rate;
    if (!RateOf(o, in, notes, &rate, &error))
        return Fail(error);
    const Y4mHeader h = HeaderOf(in, order, notes, rate);

    if (o.output == "-") {
        if (!CopyFrames(in, order, frames, h, std::cout, o, &error))
            return Fail(error + "; the stream on standard output is incomplete");
        return 0;
    }
    if (IsSequenceFile(o.output, o.input))
        return Fail(o.output + " is a file of the sequence " + o.input + " itself");
    std::ofstream file(o.output, std::ios::binary | std::ios::trunc);
    if (!file.is_open())
        return Fail(o.output + ": " + std::strerror(errno));
    bool done = CopyFrames(in, order, frames, h, file, o, &error);
    file.close();
    if (done && file.fail()) {
        done = false;
        error = o.output + ": write failed";
    }
    if (!done) {
        std::remove(o.output.c_str());
        return Fail(error + "; removed the incomplete " + o.output);
    }
    return 0;
}

}  // namespace vidstool
