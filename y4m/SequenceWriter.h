// SequenceWriter: luminance time samples out as a YUV4MPEG2 stream (8-bit, Cmono), to a
// file or to standard output. The header carries the stream's size, exact frame rate
// and field order ("YUV4MPEG2 W352 H288 F30000:1001 It Cmono"); each progressive time
// sample is one frame, and the fields of interlaced video are woven back, two time
// samples a frame, as vidstool export weaves a sequence of fields. The bytes are those
// of `vidstool export` of the same samples held as a vids sequence, given the same rate
// and field order.
//
// Every write goes straight to the file descriptor, so a full disk, a closed pipe or the
// file-size limit is reported at the frame it hits, never later; the SIGPIPE or SIGXFSZ
// that such a write raises is caught and discarded, so it does not end the process. On
// standard output the writer owns the descriptor: write nothing else to it meanwhile.
#ifndef Y4M_SEQUENCEWRITER_H
#define Y4M_SEQUENCEWRITER_H

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "y4m/LumaStream.h"

namespace y4m {

class SequenceWriter {
public:
    // Creates (or truncates) the file `name`, or takes standard output for "-", and
    // writes the header. null with *error, a phrase to follow the output's name, when
    // the stream is not one to write (size 1 to 16384, a positive rate) or the output
    // cannot be opened or written.
    static std::unique_ptr<SequenceWriter> Open(const std::string& name, const LumaStream& s,
                                                std::string* error);
    // Closes a file that Close has not closed, without a report: call Close to know.
    ~SequenceWriter();
    SequenceWriter(const SequenceWriter&) = delete;
    SequenceWriter& operator=(const SequenceWriter&) = delete;

    int Width() const { return stream.width; }
    int SampleHeight() const { return stream.SampleHeight(); }

    // Takes the next time sample (Width() x SampleHeight() samples, rows Width() apart);
    // a frame is written when it is complete. false with *error ("frame 3 could not be
    // written: No space left on device") when the write fails; after a failure nothing
    // more is written.
    bool WriteLuma(const std::uint8_t* sample, std::string* error);
    // Closes the file (standard output stays open). A last field without its partner is
    // left out, as export leaves it out; LeftOutField() then tells. false with *error
    // when an earlier write failed or the close reports a failure.
    bool Close(std::string* error);

    int FramesWritten() const { return frames; }
    bool LeftOutField() const { return leftOut; }

private:
    SequenceWriter(int fd, bool ownsFd, const LumaStream& s);
    bool Fail(const std::string& what, int err, std::string* error);

    int fd;
    bool ownsFd;
    LumaStream stream;
    std::vector<std::uint8_t> buffer;   // "FRAME\n" and one frame's luminance
    int fields = 0;                     // fields of the frame in buffer
    int frames = 0;
    bool failed = false;
    bool leftOut = false;
    std::string failure;
};

}  // namespace y4m

#endif
