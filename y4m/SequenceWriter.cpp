// SequenceWriter: luminance time samples as YUV4MPEG2 frames, every failure reported.
#include "y4m/SequenceWriter.h"

#include <fcntl.h>
#include <signal.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <ctime>

#include "y4m/Y4mHeader.h"

namespace y4m {

namespace {

const char kFrameLine[] = "FRAME\n";
constexpr size_t kFrameLineBytes = sizeof kFrameLine - 1;

// Writes all n bytes to fd: 0, or the errno of the failure. A write into a closed pipe
// raises SIGPIPE and one beyond the file-size limit SIGXFSZ; both are blocked for the
// write and, when this write raised them, taken off again, so that the failure comes
// back as EPIPE or EFBIG instead of ending the process.
int WriteAll(int fd, const std::uint8_t* data, size_t n) {
    sigset_t raised, old, before;
    sigemptyset(&raised);
    sigaddset(&raised, SIGPIPE);
    sigaddset(&raised, SIGXFSZ);
    pthread_sigmask(SIG_BLOCK, &raised, &old);
    sigpending(&before);
    int err = 0;
    while (n > 0) {
        const ssize_t put = ::write(fd, data, n);
        if (put < 0 && errno == EINTR)
            continue;
        if (put <= 0) {
            err = put < 0 ? errno : EIO;
            break;
        }
        data += put;
        n -= static_cast<size_t>(put);
    }
    for (int sig : {SIGPIPE, SIGXFSZ}) {
        sigset_t pending;
        sigpending(&pending);
        if (sigismember(&pending, sig) && !sigismember(&before, sig)) {
            sigset_t one;
            sigemptyset(&one);
            sigaddset(&one, sig);
            const timespec now = {0, 0};
            sigtimedwait(&one, nullptr, &now);
        }
    }
    pthread_sigmask(SIG_SETMASK, &old, nullptr);
    return err;
}

bool Writable(const LumaStream& s) {
    return s.width >= 1 && s.width <= kMaxPictureSize && s.height >= 1 &&
           s.height <= kMaxPictureSize && s.rate.num >= 1 && s.rate.den >= 1;
}

}  // namespace

SequenceWriter::SequenceWriter(int fd, bool ownsFd, const LumaStream& s)
    : fd(fd), ownsFd(ownsFd), stream(s) {
    buffer.resize(kFrameLineBytes + static_cast<size_t>(s.width) * static_cast<size_t>(s.height));
    std::memcpy(buffer.data(), kFrameLine, kFrameLineBytes);
}

SequenceWriter::~SequenceWriter() {
    if (ownsFd && fd >= 0)
        ::close(fd);
}

std::unique_ptr<SequenceWriter> SequenceWriter::Open(const std::string& name, const LumaStream& s,
                                                     std::string* error) {
    if (!Writable(s)) {
        *error = "cannot write a " + std::to_string(s.width) + "x" + std::to_string(s.height) +
                 " stream at " + s.rate.ToString() + " frames per second";
        return nullptr;
    }
    const bool standardOutput = name == "-";
    const int fd = standardOutput ? STDOUT_FILENO
                                  : ::open(name.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
    if (fd < 0) {
        *error = std::strerror(errno);
        return nullptr;
    }
    std::unique_ptr<SequenceWriter> w(new SequenceWriter(fd, !standardOutput, s));
    Y4mHeader h;
    h.width = s.width;
    h.height = s.height;
    h.hasRate = true;
    h.rate = s.rate;
    h.interlace = InterlaceLetter(s.order);
    h.format = ormel::YUV400;
    h.colorspace = DefaultColorspace(ormel::YUV400);
    const std::string line = FormatY4mHeader(h);
    const int err = WriteAll(fd, reinterpret_cast<const std::uint8_t*>(line.data()), line.size());
    if (err != 0) {
        *error = std::string("the YUV4MPEG2 header could not be written: ") + std::strerror(err);
        return nullptr;
    }
    return w;
}

bool SequenceWriter::Fail(const std::string& what, int err, std::string* error) {
    failed = true;
    failure = what + ": " + std::strerror(err);
    *error = failure;
    return false;
}

bool SequenceWriter::WriteLuma(const std::uint8_t* sample, std::string* error) {
    if (failed) {
        *error = failure;
        return false;
    }
    const int per = SamplesPerFrame(stream.order);
    WeavePlane(sample, stream.width, stream.height, stream.order, fields, buffer.data() + kFrameLineBytes);
    if (++fields < per)
        return true;
    fields = 0;
    const int err = WriteAll(fd, buffer.data(), buffer.size());
    if (err != 0)
        return Fail("frame " + std::to_string(frames) + " could not be written", err, error);
    ++frames;
    return true;
}

bool SequenceWriter::Close(std::string* error) {
    leftOut = leftOut || fields != 0;
    fields = 0;
    bool good = !failed;
    if (failed)
        *error = failure;
    if (ownsFd && fd >= 0) {
        const int closed = ::close(fd);
        const int err = errno;
        fd = -1;
        if (closed != 0 && good)
            return Fail("the output could not be closed", err, error);
    }
    return good;
}

}  // namespace y4m
