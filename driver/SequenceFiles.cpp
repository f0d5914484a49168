// SequenceFiles: file names and checks of vids sequences for the command.
#include "driver/SequenceFiles.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>

#include "vids/vids.h"

namespace driver {

namespace {

std::string DirectoryOf(const std::string& path) {
    const size_t slash = path.rfind('/');
    if (slash == std::string::npos)
        return ".";
    return slash == 0 ? "/" : path.substr(0, slash);
}

std::string Reason(const std::string& path, int err) { return path + ": " + std::strerror(err); }

// Bytes of one time sample in the data file: the three padded component blocks.
int64_t RecordBytes(const IMG_INF* inf) {
    int64_t blocks[3], samples[3];
    int itemSize = 0, bits = 0;
    cal_physize(inf, blocks, samples, &itemSize, &bits);
    return blocks[0] + blocks[1] + blocks[2];
}

}  // namespace

bool SameFile(const std::string& a, const std::string& b) {
    if (a == b)
        return true;
    struct stat sa, sb;
    return stat(a.c_str(), &sa) == 0 && stat(b.c_str(), &sb) == 0 && sa.st_dev == sb.st_dev &&
           sa.st_ino == sb.st_ino;
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
    y4m::SequenceDescription description;
    const IMG_INF* inf = description.Record();
    if (!description.Load(name)) {
        *error = FilesOf(name).des + ": not a readable vids description";
        return false;
    }
    if (!Img_check_comp_exists(inf, 0)) {
        *error = FilesOf(name).des + ": the sequence has no luminance component";
        return false;
    }
    if (!Img_check_sampling(inf)) {
        *error = FilesOf(name).des + ": the sampling matrices of its components are not valid";
        return false;
    }
    d->width = Img_get_nb_h(inf, 0);
    d->height = Img_get_nb_v(inf, 0);
    d->samples = Img_get_nb_t(inf, 0);
    d->recordBytes = RecordBytes(inf);
    if (d->width <= 0 || d->height <= 0 || d->recordBytes <= 0) {
        *error = FilesOf(name).des + ": declares frames of " + std::to_string(inf->size[0]) +
                 "x" + std::to_string(inf->size[1]);
        return false;
    }
    return true;
}

bool ShortenSequence(const std::string& name, long samples, std::string* error) {
    y4m::SequenceDescription description;
    if (!description.Load(name)) {
        *error = FilesOf(name).des + ": cannot be read back";
        return false;
    }
    const int64_t recordBytes = RecordBytes(description.Record());
    Img_set_size(description.Record(), 2, static_cast<int>(samples));
    if (!description.Save(name, error))
        return false;
    const std::string pic = FilesOf(name).pic;
    if (truncate(pic.c_str(), static_cast<off_t>(samples * recordBytes)) != 0) {
        *error = Reason(pic, errno);
        return false;
    }
    return true;
}

}  // namespace driver
