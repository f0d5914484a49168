// LumaSequence: checks, then the vids library's open, transfer and close.
#include "python/LumaSequence.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cfloat>
#include <climits>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <new>

#include "vids/vids.h"

namespace gme_python {

namespace {

constexpr int kQuiet = 7;                         // no warnings, no opening line
constexpr int kDescriptionOnly = 0x200 | kQuiet;
// As the command transfers frames: quiet, signed samples shifted by half the range.
constexpr int kReadFlags = 32 | kQuiet;
constexpr int kWriteFlags = 0x1000 | 32 | kQuiet;
constexpr int kCreated = 2;                       // Openvids made a new sequence
const int kLumaOnly[3] = {1, 0, 0};

struct Paths {
    std::string des;
    std::string pic;
};

// The files of sequence `name` as the library names them: the extension cut off, "~"
// and environment references expanded, then ".des" and ".pic".
Paths PathsOf(const std::string& name) {
    if (name.empty())
        throw std::invalid_argument("the sequence name is empty");
    if (name.find('\0') != std::string::npos)
        throw std::invalid_argument("the sequence name holds a null character");
    // The record keeps IMG_FNAME_LEN - 1 characters: a longer name would name another file.
    if (name.size() >= IMG_FNAME_LEN)
        throw FileError(ENAMETOOLONG, std::strerror(ENAMETOOLONG), name);
    std::vector<char> buf(name.begin(), name.end());
    buf.push_back('\0');
    strpext(buf.data());
    const std::string base = expenv(buf.data());
    if (base.size() + 5 > IMG_DES_PATH_LEN)
        throw FileError(ENAMETOOLONG, std::strerror(ENAMETOOLONG), base);
    return Paths{base + ".des", base + ".pic"};
}

[[noreturn]] void ThrowErrno(const std::string& path) {
    const int e = errno;
    throw FileError(e, std::strerror(e), path);
}

void CheckReadable(const std::string& path) {
    struct stat st;
    if (stat(path.c_str(), &st) != 0)
        ThrowErrno(path);
    if (S_ISDIR(st.st_mode))
        throw FileError(EISDIR, std::strerror(EISDIR), path);
    if (access(path.c_str(), R_OK) != 0)
        ThrowErrno(path);
}

// A file about to be replaced (after its backup to path~): no directory in the way, and
// the library needs write permission on an existing one.
void CheckReplaceable(const std::string& path) {
    struct stat st;
    if (stat(path.c_str(), &st) == 0) {
        if (S_ISDIR(st.st_mode))
            throw FileError(EISDIR, std::strerror(EISDIR), path);
        if (access(path.c_str(), W_OK) != 0)
            ThrowErrno(path);
    }
    // A directory named path~ would make the backup fail, and the old file be lost.
    const std::string backup = path + "~";
    if (stat(backup.c_str(), &st) == 0 && S_ISDIR(st.st_mode))
        throw FileError(EISDIR, std::strerror(EISDIR), backup);
    const size_t slash = path.rfind('/');
    const std::string dir = slash == std::string::npos ? "." : slash == 0 ? "/" : path.substr(0, slash);
    if (stat(dir.c_str(), &st) != 0)
        ThrowErrno(dir);
    if (!S_ISDIR(st.st_mode))
        throw FileError(ENOTDIR, std::strerror(ENOTDIR), dir);
    if (access(dir.c_str(), W_OK | X_OK) != 0)
        ThrowErrno(dir);
}

IMG_INF* NewRecord() {
    IMG_INF* inf = nullptr;
    if (!Img_INF_alloc(&inf))
        throw std::bad_alloc();
    return inf;
}

void FreeRecord(IMG_INF* inf) {
    Closevids(inf, 0);
    Img_INF_free(inf);
}

// Bytes of one time sample in the data file.
int64_t RecordBytes(const IMG_INF* inf) {
    int64_t blocks[3], samples[3];
    int itemSize = 0, bits = 0;
    cal_physize(inf, blocks, samples, &itemSize, &bits);
    return blocks[0] + blocks[1] + blocks[2];
}

}  // namespace

LumaReader::LumaReader(const std::string& name) {
    const Paths p = PathsOf(name);
    pic = p.pic;
    CheckReadable(p.des);
    CheckReadable(p.pic);
    inf = NewRecord();
    try {
        if (Openvids(name.c_str(), inf, "old", kDescriptionOnly) != 0)
            throw FileError(0, p.des + ": not a readable vids description", p.des);
        if (!Img_check_comp_exists(inf, 0))
            throw std::invalid_argument(p.des + ": the sequence has no luminance component");
        if (Img_get_fdtype(inf) >= IMG_FDT_1_BIT)
            throw std::invalid_argument(p.des + ": samples packed below 8 bits are not read");
        width = Img_get_nb_h(inf, 0);
        height = Img_get_nb_v(inf, 0);
        frames = Img_get_nb_t(inf, 0);
        if (width < 1 || height < 1)
            throw std::invalid_argument(p.des + ": the luminance has no samples");
        struct stat st;
        if (stat(p.pic.c_str(), &st) != 0)
            ThrowErrno(p.pic);
        const int64_t held = st.st_size / RecordBytes(inf);
        if (held < frames)
            throw FileError(0, p.pic + ": holds " + std::to_string(held) + " of the " +
                                   std::to_string(frames) + " frames " + p.des + " declares",
                            p.pic);
        if (Openvids(name.c_str(), inf, "old", kQuiet) & 1)
            throw FileError(0, name + ": the sequence could not be opened", p.des);
    } catch (...) {
        FreeRecord(inf);
        throw;
    }
}

LumaReader::~LumaReader() { FreeRecord(inf); }

void LumaReader::Read(long k, std::uint8_t* plane) {
    if (k < 0 || k >= frames)
        throw std::out_of_range("frame " + std::to_string(k) + " of " + std::to_string(frames));
    errno = 0;
    if (Readvids(static_cast<int>(k), kLumaOnly, IMG_UBYTE, plane, nullptr, nullptr, inf,
                 kReadFlags) != 0 ||
        std::ferror(inf->stream)) {
        const int e = errno;
        throw FileError(e, pic + ": frame " + std::to_string(k) + " could not be read" +
                               (e ? std::string(": ") + std::strerror(e) : ""),
                        pic);
    }
}

LumaWriter::LumaWriter(const std::string& name, int w, int h, long n, double rate)
    : width(w), height(h), frames(n) {
    if (width < 1 || height < 1 || frames < 1 || frames > INT_MAX)
        throw std::invalid_argument("a sequence of " + std::to_string(frames) + " frames of " +
                                    std::to_string(width) + "x" + std::to_string(height));
    if (!(rate > 0 && rate <= FLT_MAX) || !(static_cast<float>(rate) > 0))
        throw std::invalid_argument("the frame rate must be a positive finite number");
    const Paths p = PathsOf(name);
    pic = p.pic;
    CheckReplaceable(p.des);
    CheckReplaceable(p.pic);
    inf = NewRecord();
    Img_set_sizes(inf, width, height, static_cast<int>(frames));
    Img_set_freq(inf, 2, static_cast<float>(rate));
    Img_set_smpl_matrices(inf, IMG_FMT_MONO, 0);
    Img_set_comp_names(inf, IMG_FMT_MONO);
    Img_set_dsigns(inf, 0, 0, 0);
    errno = 0;
    if (Openvids(name.c_str(), inf, "new", kQuiet) != kCreated) {
        const int e = errno;
        FreeRecord(inf);
        throw FileError(e, name + ": the sequence could not be created" +
                               (e ? std::string(": ") + std::strerror(e) : ""),
                        p.des);
    }
}

LumaWriter::~LumaWriter() { FreeRecord(inf); }

void LumaWriter::Write(long k, const std::uint8_t* plane, std::ptrdiff_t stride) {
    if (k < 0 || k >= frames)
        throw std::out_of_range("frame " + std::to_string(k) + " of " + std::to_string(frames));
    if (stride != width) {
        packed.resize(static_cast<size_t>(width) * height);
        for (int y = 0; y < height; ++y)
            std::memcpy(&packed[static_cast<size_t>(y) * width], plane + y * stride,
                        static_cast<size_t>(width));
        plane = packed.data();
    }
    errno = 0;
    // The library takes a mutable pointer for reads and writes alike; it does not write
    // to the samples of a write.
    if (Writevids(static_cast<int>(k), kLumaOnly, IMG_UBYTE, const_cast<std::uint8_t*>(plane),
                  nullptr, nullptr, inf, kWriteFlags) != 0 ||
        std::ferror(inf->stream)) {
        const int e = errno;
        throw FileError(e, pic + ": frame " + std::to_string(k) + " could not be written" +
                               (e ? std::string(": ") + std::strerror(e) : ""),
                        pic);
    }
}

void LumaWriter::Close() {
    if (!inf->stream)
        return;   // closed already
    errno = 0;
    const bool failed = std::fflush(inf->stream) != 0 || std::ferror(inf->stream);
    const int e = errno;
    Closevids(inf, 0);
    if (failed)
        throw FileError(e, pic + ": the frames could not be written" +
                               (e ? std::string(": ") + std::strerror(e) : ""),
                        pic);
}

}  // namespace gme_python
