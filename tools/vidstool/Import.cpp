// Import: a YUV4MPEG2 stream or raw planar video into a new vids sequence.
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <iostream>
#include <memory>

#include "image/VidsFile.h"
#include "image/YUVImage.h"
#include "tools/vidstool/Commands.h"
#include "y4m/FieldLayout.h"
#include "y4m/RawReader.h"
#include "y4m/SequenceDescription.h"
#include "y4m/StreamNotes.h"
#include "y4m/Y4mReader.h"

namespace vidstool {

using namespace y4m;

namespace {

constexpr int kWritten = 18;   // VidsFile::Write done

bool Exists(const std::string& path) {
    struct stat st;
    return stat(path.c_str(), &st) == 0;
}

// A regular raw file is checked before anything is written: no YUV4MPEG2 signature,
// not empty, and a whole number of frames.
bool CheckRawFile(const ImportOptions& o, std::istream& in, std::string* error) {
    struct stat st;
    if (o.input == "-" || stat(o.input.c_str(), &st) != 0 || !S_ISREG(st.st_mode))
        return true;   // a stream is checked frame by frame
    unsigned char head[10] = {};
    in.read(reinterpret_cast<char*>(head), sizeof head);
    const size_t got = static_cast<size_t>(in.gcount());
    in.clear();
    in.seekg(0);
    if (HasY4mSignature(head, got)) {
        *error = o.input + ": this is a YUV4MPEG2 stream, not raw video; leave out --size and --format";
        return false;
    }
    const size_t frame = FrameBytes(o.format, o.width, o.height);
    const unsigned long long bytes = static_cast<unsigned long long>(st.st_size);
    if (bytes == 0) {
        *error = o.input + ": the input is empty";
        return false;
    }
    if (bytes % frame != 0) {
        *error = o.input + ": " + std::to_string(bytes) + " bytes are not a whole number of " +
                 std::to_string(o.width) + "x" + std::to_string(o.height) + " " +
                 FormatName(o.format) + " frames (" + std::to_string(frame) + " bytes each)";
        return false;
    }
    return true;
}

// The directory of path must take a new file.
bool CheckCreatable(const std::string& path, std::string* error) {
    const size_t slash = path.rfind('/');
    const std::string dir = slash == std::string::npos ? "." : slash == 0 ? "/" : path.substr(0, slash);
    if (access(dir.c_str(), W_OK) != 0) {
        *error = path + ": cannot create: " + std::strerror(errno);
        return false;
    }
    return true;
}

// Removes the files of a failed import and puts back the sequence they replaced; the
// phrase to add to the error message.
std::string Discard(const SequenceFiles& f, bool hadDes, bool hadPic) {
    std::remove(f.des.c_str());
    std::remove(f.pic.c_str());
    bool restored = false;
    if (hadDes && Exists(f.des + "~"))
        restored |= std::rename((f.des + "~").c_str(), f.des.c_str()) == 0;
    if (hadPic && Exists(f.pic + "~"))
        restored |= std::rename((f.pic + "~").c_str(), f.pic.c_str()) == 0;
    return "; removed the incomplete " + f.des + " and " + f.pic +
           (restored ? " and restored the previous ones from their backups" : "");
}

// Writes frame, then every further frame of source, as time samples of out; the number
// written goes to *samples. false with *error on the first failure.
bool CopyFrames(FrameSource& source, Frame& frame, FieldOrder order, ormel::VidsFile& out,
                const ImportOptions& o, int* samples, std::string* error) {
    ormel::YUVImage sample(out);
    *samples = 0;
    for (;;) {
        for (int field = 0; field < SamplesPerFrame(order); ++field) {
            if (!FrameToSample(frame, order, field, sample) || out.Write(sample, *samples) != kWritten) {
                *error = o.output + ": time sample " + std::to_string(*samples) + " could not be written";
                return false;
            }
            ++*samples;
        }
        const ReadResult r = source.Next(frame, error);
        if (r == ReadResult::kEnd)
            return true;
        if (r == ReadResult::kError) {
            *error = o.input + ": " + *error;
            return false;
        }
    }
}

// Keeps the header's notes, the field order and where the video came from in the new
// description (VidsFile has closed it).
bool Describe(const ImportOptions& o, const Y4mHeader& notes, FieldOrder order, std::string* error) {
    SequenceDescription d;
    if (!d.Load(o.output)) {
        *error = o.output + ": the new description could not be read back";
        return false;
    }
    for (const std::string& lost : StoreNotes(notes, d))
        Warn(o.output + ": no room in the description for the header value " + lost);
    if (order == FieldOrder::kBottomFirst)
        d.SetVerticalOffset(1);   // time sample 0 holds the odd lines
    d.SetComments("imported by vidstool from " + (o.input == "-" ? std::string("standard input") : o.input));
    return d.Save(o.output, error);
}

int WriteSequence(FrameSource& source, FieldOrder order, const Y4mHeader& notes,
                  const ImportOptions& o) {
    const SequenceFiles files = FilesOf(o.output);
    std::string error;
    if (!CheckCreatable(files.des, &error))
        return Fail(error);
    // The first frame is read before anything is created: an input that holds none, or
    // whose header promises more than it has, leaves no trace.
    Frame frame;
    const ReadResult first = source.Next(frame, &error);
    if (first != ReadResult::kFrame)
        return Fail(o.input + ": " + (first == ReadResult::kEnd ? "the input holds no frame" : error));
    const bool hadDes = Exists(files.des);
    const bool hadPic = Exists(files.pic);
    const bool interlaced = order != FieldOrder::kProgressive;
    {
        ormel::VidsFile out;
        out.SetWidth(source.Width());
        out.SetHeight(source.Height());
        out.SetNumberOfImages(1);   // each write beyond the end extends the sequence
        // The record's temporal frequency is the rate of time samples: fields when interlaced.
        out.SetFrameRate(SampleFrequency(notes.rate, order));
        out.SetSamplingMatrices(source.Format(), interlaced);
        if (out.Open(o.output, ormel::OPEN_NEW) & 1)
            return Fail(o.output + ": the sequence could not be created");
        int samples = 0;
        CopyFrames(source, frame, order, out, o, &samples, &error);
        out.Close();
    }
    if (error.empty())
        Describe(o, notes, order, &error);
    if (!error.empty())
        return Fail(error + Discard(files, hadDes, hadPic));
    return 0;
}

FieldOrder OrderOf(char interlace) {
    switch (interlace) {
    case 't': return FieldOrder::kTopFirst;
    case 'b': return FieldOrder::kBottomFirst;
    default: return FieldOrder::kProgressive;   // p, mixed (frame by frame) or unknown
    }
}

}  // namespace

int RunImport(const ImportOptions& o) {
    std::ifstream file;
    std::string error;
    std::istream* in = OpenInput(o.input, &file, &error);
    if (in == nullptr)
        return Fail(o.input + ": " + error);

    std::unique_ptr<FrameSource> source;
    Y4mHeader notes;   // what the sequence keeps of the input's header
    if (o.raw) {
        if (!CheckRawFile(o, *in, &error))
            return Fail(error);
        source.reset(new RawReader(*in, o.format, o.width, o.height));
        notes.hasRate = true;
        notes.rate = Rational{25, 1};
    } else {
        bool foreign = false;
        std::unique_ptr<Y4mReader> reader = Y4mReader::Open(*in, &error, &foreign);
        if (!reader)
            return Fail(o.input + ": " + error + (foreign ? " (for raw planar video give --size WxH)" : ""));
        notes = reader->Header();
        source = std::move(reader);
        if (!notes.hasRate && !o.rateGiven)
            return Fail(o.input + ": the YUV4MPEG2 header gives no frame rate; give --rate");
    }
    if (o.rateGiven) {
        notes.hasRate = true;
        notes.rate = o.rate;
    }
    if (o.interlace != 0)
        notes.interlace = o.interlace;
    return WriteSequence(*source, OrderOf(notes.interlace), notes, o);
}

}  // namespace vidstool
