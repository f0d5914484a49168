// Fuzz target: any bytes as a YUV4MPEG2 stream, through the header parser, the frame
// reader and the luminance reader that gme uses, including the description of the
// imported sequence. A header that parses must write back as text that parses to the
// same header; the luminance reader must deliver exactly the time samples that the
// frames hold and stop at an end or an error.
#include <cstddef>
#include <cstdint>
#include <sstream>
#include <string>
#include <vector>

#include "image/VidsFile.h"
#include "y4m/SequenceReader.h"
#include "y4m/Y4mHeader.h"
#include "y4m/Y4mReader.h"

namespace {

// Keeps one input from taking the run's memory: the harness's own luminance buffer is
// not allocated for pictures above this.
constexpr size_t kMaxHarnessSamples = size_t{1} << 24;

void Check(bool ok) {
    if (!ok)
        __builtin_trap();
}

void HeaderRoundTrip(const std::string& bytes) {
    const std::string line = bytes.substr(0, bytes.find('\n'));
    y4m::Y4mHeader h, again;
    std::string error;
    if (!y4m::ParseY4mHeader(line, &h, &error)) {
        Check(!error.empty());
        return;
    }
    const std::string text = y4m::FormatY4mHeader(h);
    Check(!text.empty() && text.back() == '\n');
    Check(y4m::ParseY4mHeader(text.substr(0, text.size() - 1), &again, &error));
    Check(y4m::FormatY4mHeader(again) == text);
}

void Frames(const std::string& bytes) {
    std::istringstream in(bytes);
    std::string error;
    std::unique_ptr<y4m::Y4mReader> r = y4m::Y4mReader::Open(in, &error);
    if (!r) {
        Check(!error.empty());
        return;
    }
    y4m::Frame f;
    y4m::ReadResult res;
    while ((res = r->Next(f, &error)) == y4m::ReadResult::kFrame)
        Check(f.width == r->Width() && f.height == r->Height());
    Check(res == y4m::ReadResult::kEnd || !error.empty());
}

void Luma(const std::string& bytes) {
    std::istringstream in(bytes);
    std::string error;
    std::unique_ptr<y4m::SequenceReader> r = y4m::SequenceReader::Open(in, &error);
    if (!r) {
        Check(!error.empty());
        return;
    }
    const size_t samples = static_cast<size_t>(r->Width()) * static_cast<size_t>(r->SampleHeight());
    if (samples > kMaxHarnessSamples)
        return;
    std::vector<std::uint8_t> luma(samples);
    y4m::LumaResult res;
    while ((res = r->NextLuma(luma.data(), &error)) == y4m::LumaResult::kSample) {
    }
    Check(res == y4m::LumaResult::kEnd || !error.empty());
    Check(r->NextLuma(luma.data(), &error) == res);
    ormel::VidsFile f;
    r->Describe(f);
    Check(f.Width() == r->Width() && f.Height() == r->Height());
    Check(f.Interlaced() == (r->Order() != y4m::FieldOrder::kProgressive));
    Check(f.FrameRate() > 0);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string bytes(reinterpret_cast<const char*>(data), size);
    HeaderRoundTrip(bytes);
    Frames(bytes);
    Luma(bytes);
    return 0;
}
