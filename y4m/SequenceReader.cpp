// SequenceReader: YUV4MPEG2 luminance by time sample, and the description of its import.
#include "y4m/SequenceReader.h"

#include "image/VidsFile.h"
#include "y4m/SequenceDescription.h"

namespace y4m {

SequenceReader::SequenceReader(std::unique_ptr<Y4mReader> reader) : reader(std::move(reader)) {
    header = this->reader->Header();
    stream.width = header.width;
    stream.height = header.height;
    stream.rate = header.rate;
    // As import: t and b are the field orders; p, m (frame by frame) and ? progressive.
    stream.order = header.interlace == 't'   ? FieldOrder::kTopFirst
                   : header.interlace == 'b' ? FieldOrder::kBottomFirst
                                             : FieldOrder::kProgressive;
    // Import sets the record's frequency, writes the description when it creates the
    // sequence, reads and writes it again to add its notes, and the sequence is then
    // opened: two trips through the description text.
    // A rate that the first trip turns into 0 stays 0 (and is refused by Open).
    frequency = FrequencyThroughDescription(SampleFrequency(stream.rate, stream.order));
    if (frequency > 0)
        frequency = FrequencyThroughDescription(frequency);
}

SequenceReader::~SequenceReader() = default;

std::unique_ptr<SequenceReader> SequenceReader::Open(const std::string& name, std::string* error) {
    std::unique_ptr<std::ifstream> file(new std::ifstream);
    std::istream* in = OpenInput(name, file.get(), error);
    if (in == nullptr)
        return nullptr;
    if (in != file.get())
        file.reset();
    std::unique_ptr<SequenceReader> r = Open(*in, error);
    if (r)
        r->file = std::move(file);
    return r;
}

std::unique_ptr<SequenceReader> SequenceReader::Open(std::istream& in, std::string* error) {
    std::unique_ptr<Y4mReader> reader = Y4mReader::Open(in, error);
    if (!reader)
        return nullptr;
    if (!reader->Header().hasRate) {
        *error = "the YUV4MPEG2 header gives no frame rate";
        return nullptr;
    }
    std::unique_ptr<SequenceReader> r(new SequenceReader(std::move(reader)));
    if (!(r->frequency > 0)) {
        // The description keeps four decimals: a slower rate would read as none at all.
        *error = "the frame rate " + r->header.rate.ToString() +
                 " is too low for a vids sequence (at least 0.0001 time samples a second)";
        return nullptr;
    }
    return r;
}

LumaResult SequenceReader::NextLuma(std::uint8_t* dst, std::string* error) {
    if (state != LumaResult::kSample) {
        if (state == LumaResult::kError)
            *error = failure;
        return state;
    }
    const int field = samples % SamplesPerFrame(stream.order);
    if (field == 0) {
        const ReadResult r = reader->Next(frame, &failure);
        if (r != ReadResult::kFrame) {
            state = r == ReadResult::kEnd ? LumaResult::kEnd : LumaResult::kError;
            if (state == LumaResult::kError)
                *error = failure;
            return state;
        }
    }
    SplitPlane(frame.plane[0].data(), header.width, header.height, stream.order, field, dst);
    ++samples;
    return LumaResult::kSample;
}

void SequenceReader::Describe(ormel::VidsFile& f) const {
    f.SetWidth(header.width);
    f.SetHeight(header.height);
    if (samples > 0)
        f.SetNumberOfImages(samples);
    f.SetFrameRate(frequency);
    f.SetSamplingMatrices(header.format, stream.order != FieldOrder::kProgressive);
}

}  // namespace y4m
