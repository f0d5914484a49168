// SequenceFiles: file names and checks of vids sequences for the command.
#include "driver/SequenceFiles.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>
#include <vector>

#include "vids/vids.h"

namespace driver {

namespace {

constexpr int kDescriptionOnly = 0x200 | 7;   // read the .des only, quietly

struct RecordDeleter {
    void operator()(IMG_INF* inf) const { Img_INF_free(inf); }
};
using Record = std::unique_ptr<IMG_INF, RecordDeleter>;

Record NewRecord() {
    IMG_INF* inf = nullptr;
    if (!Img_INF_alloc(&inf))
        throw std::bad_alloc();
    return Record(inf);
}

std::string DirectoryOf(const std::string& path) {
    const size_t slash = path.rfind('/');
    if (slash == std::string::npos)
        return ".";
    return slash == 0 ? "/" : path.substr(0, slash);
}

std::string Reason(const std::string& path, int err) { return path + ": " + std::strerror(err); }

}  // namespace

SequenceFiles FilesOf(const std::string& name) {
    // As Openvids: the record keeps at most IMG_FNAME_LEN - 1 characters of the name.
    std::vector<char> buf(name.begin(), name.end());
    buf.resize(IMG_FNAME_LEN - 1);
    buf.push_back('\0');
    strpext(buf.data());
    const std::string base = expenv(buf.data());
    return SequenceFiles{base + ".des", base + ".pic"};
}

bool SameFile(const std::string& a, const std::string& b) {
    if (a == b)
        return true;
    struct stat sa, sb;
    return stat(a.c_str(), &sa) == 0 && stat(b.c_str(), &sb) == 0 && sa.st_dev == sb.st_dev &&
           sa.st_ino == sb.st_ino;
}

bool CheckReadable(const std::string& path, std::string* error) {
    struct stat st;
    if (stat(path.c_str(), &st) != 0) {
        *error = Reason(path, errno);
        return false;
    }
    if (S_ISDIR(st.st_mode)) {
        *error = path + ": is a directory";
        return false;
    }
    if (access(path.c_str(), R_OK) != 0) {
        *error = Reason(path, errno);
        return false;
    }
    return true;
}

bool CheckCreatable(const std::string& path, std::string* error) {
    struct stat st;
    if (stat(path.c_str(), &st) == 0) {
        if (S_ISDIR(st.st_mode)) {
            *error = path + ": is a directory";
            return false;
        }
        if (access(path.c_str(), W_OK) != 0) {
            *error = Reason(path, errno);
            return false;
        }
    }
    const std::string dir = DirectoryOf(path);
    if (stat(dir.c_str(), &st) != 0) {
        *error = path + ": cannot create: directory " + dir + ": " + std::strerror(errno);
        return false;
    }
    if (!S_ISDIR(st.st_mode)) {
        *error = path + ": cannot create: " + dir + " is not a directory";
        return false;
    }
    if (access(dir.c_str(), W_OK | X_OK) != 0) {
        *error = path + ": cannot create in " + dir + ": " + std::strerror(errno);
        return false;
    }
    return true;
}

bool ReadDescription(const std::string& name, Description* d, std::string* error) {
    Record inf = NewRecord();
    const std::string des = FilesOf(name).des;
    if (Openvids(name.c_str(), inf.get(), "old", kDescriptionOnly) != 0) {
        *error = des + ": not a readable vids description";
        return false;
    }
    if (!Img_check_comp_exists(inf.get(), 0)) {
        *error = des + ": the sequence has no luminance component";
        return false;
    }
    d->width = Img_get_nb_h(inf.get(), 0);
    d->height = Img_get_nb_v(inf.get(), 0);
    d->samples = Img_get_nb_t(inf.get(), 0);
    int64_t blocks[3], samples[3];
    int itemSize = 0, bits = 0;
    cal_physize(inf.get(), blocks, samples, &itemSize, &bits);
    d->recordBytes = blocks[0] + blocks[1] + blocks[2];
    return true;
}

bool ShortenSequence(const std::string& name, long samples, std::string* error) {
    Record inf = NewRecord();
    const SequenceFiles files = FilesOf(name);
    if (Openvids(name.c_str(), inf.get(), "old", kDescriptionOnly) != 0) {
        *error = files.des + ": cannot be read back";
        return false;
    }
    int64_t blocks[3], count[3];
    int itemSize = 0, bits = 0;
    cal_physize(inf.get(), blocks, count, &itemSize, &bits);
    const int64_t bytes = static_cast<int64_t>(samples) * (blocks[0] + blocks[1] + blocks[2]);
    Img_set_size(inf.get(), 2, static_cast<int>(samples));
    FILE* f = std::fopen(files.des.c_str(), "w");
    if (!f) {
        *error = Reason(files.des, errno);
        return false;
    }
    inf->stream = f;
    const bool written = put_info(inf.get(), 0) == 0;
    inf->stream = nullptr;
    if (std::fclose(f) != 0 || !written) {
        *error = files.des + ": cannot be rewritten";
        return false;
    }
    if (truncate(files.pic.c_str(), bytes) != 0) {
        *error = Reason(files.pic, errno);
        return false;
    }
    return true;
}

}  // namespace driver
