// SequenceReader: the luminance of a YUV4MPEG2 stream, one time sample at a time, exactly
// as `vidstool import` stores it in a vids sequence: a frame of progressive input, one
// field of interlaced input. Time sample 2f + i is field i of frame f in the order the
// header gives (It: top field first, Ib: bottom field, the odd rows, first); a field of
// an odd number of rows ends with a copy of the frame's last row. Im and I? read as
// progressive. The stream is read as it comes, so standard input works and memory holds
// one frame however long the stream is.
//
// Describe gives an unopened ormel::VidsFile the settings that a VidsFile opened on the
// imported sequence reports: width, height (of a frame), chroma format, interlacing,
// the frame rate after the description file's four decimals, and the number of time
// samples read so far (the whole count once NextLuma has reported the end; before the
// first sample the count is left as it is).
#ifndef Y4M_SEQUENCEREADER_H
#define Y4M_SEQUENCEREADER_H

#include <cstdint>
#include <fstream>
#include <istream>
#include <memory>
#include <string>

#include "image/Types.h"
#include "y4m/FieldLayout.h"
#include "y4m/Frame.h"
#include "y4m/LumaStream.h"
#include "y4m/Y4mHeader.h"
#include "y4m/Y4mReader.h"

namespace ormel {
class VidsFile;
}

namespace y4m {

enum class LumaResult { kSample, kEnd, kError };

class SequenceReader {
public:
    // Opens the file `name`, or standard input for "-", and reads its header. null with
    // *error, a phrase to follow the input's name, when the input cannot be opened or
    // its header is not one that vidstool import takes (a header without a frame rate
    // included), or its rate is too low for the description's four decimals. A picture too large for memory throws std::bad_alloc at the first read.
    static std::unique_ptr<SequenceReader> Open(const std::string& name, std::string* error);
    // The same on a stream that outlives the reader.
    static std::unique_ptr<SequenceReader> Open(std::istream& in, std::string* error);
    ~SequenceReader();

    int Width() const { return header.width; }
    int Height() const { return header.height; }        // rows of a whole frame
    int SampleHeight() const { return stream.SampleHeight(); }
    ormel::ChromaFormat Format() const { return header.format; }
    FieldOrder Order() const { return stream.order; }
    const Y4mHeader& Header() const { return header; }
    // Geometry, exact frame rate and field order: what a SequenceWriter needs to write
    // the time samples back as this stream's frames.
    const LumaStream& Stream() const { return stream; }
    int SamplesRead() const { return samples; }

    // Copies the next time sample's luminance to dst (Width() x SampleHeight() samples,
    // rows Width() apart). kEnd: the stream ended cleanly between frames. kError: *error
    // says what is wrong, naming the frame ("frame 3 is truncated (100 of 152 bytes)").
    // After kEnd or kError nothing more is read and the same result comes back.
    LumaResult NextLuma(std::uint8_t* dst, std::string* error);

    // Sets f (which must not be open) as described above.
    void Describe(ormel::VidsFile& f) const;

private:
    explicit SequenceReader(std::unique_ptr<Y4mReader> reader);

    std::unique_ptr<std::ifstream> file;   // null when reading a caller's stream
    std::unique_ptr<Y4mReader> reader;
    Y4mHeader header;
    LumaStream stream;
    float frequency;                       // the imported record's temporal frequency
    Frame frame;                           // the frame whose fields are being delivered
    int samples = 0;
    LumaResult state = LumaResult::kSample;
    std::string failure;
};

}  // namespace y4m

#endif
