// SequenceDescription: description files through the vids C API.
#include "y4m/SequenceDescription.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <new>

#include "vids/vids.h"

namespace y4m {

namespace {

// Open flags: description only, no warnings, no opening line.
constexpr int kDescriptionOnly = 0x200 | 7;

const char* const kTypeNames[] = {"OCTET", "ENTIER_2", "REEL", "1_BIT", "2_BITS", "4_BITS"};

bool Exists(const std::string& path) {
    struct stat st;
    return stat(path.c_str(), &st) == 0;
}

}  // namespace

bool CheckFile(const std::string& path, std::string* error) {
    struct stat st;
    if (stat(path.c_str(), &st) != 0) {
        *error = path + ": " + std::strerror(errno);
        return false;
    }
    if (S_ISDIR(st.st_mode)) {
        *error = path + ": is a directory";
        return false;
    }
    if (access(path.c_str(), R_OK) != 0) {
        *error = path + ": " + std::strerror(errno);
        return false;
    }
    return true;
}

SequenceFiles FilesOf(const std::string& name) {
    // As Openvids: the record keeps at most IMG_FNAME_LEN - 1 characters of the name.
    std::vector<char> buf(name.begin(), name.end());
    buf.resize(IMG_FNAME_LEN - 1);
    buf.push_back('\0');
    strpext(buf.data());
    const std::string base = expenv(buf.data());
    return SequenceFiles{base + ".des", base + ".pic"};
}

float FrequencyThroughDescription(float freq) {
    SequenceDescription written, read;
    Img_set_freq(written.Record(), 2, freq);
    char* text = nullptr;
    size_t size = 0;
    FILE* out = open_memstream(&text, &size);
    if (out == nullptr)
        throw std::bad_alloc();
    written.Record()->stream = out;
    put_info(written.Record(), 0);
    written.Record()->stream = nullptr;
    std::fclose(out);
    FILE* in = fmemopen(text, size, "r");
    if (in == nullptr) {
        std::free(text);
        throw std::bad_alloc();
    }
    read.Record()->stream = in;
    const int failed = get_info(read.Record(), 0);
    read.Record()->stream = nullptr;
    std::fclose(in);
    std::free(text);
    // The text was written from a valid record a moment ago: get_info cannot refuse it.
    return failed == 0 ? Img_get_freq(read.Record(), 2) : freq;
}

bool CheckReadable(const std::string& name, std::string* error) {
    const SequenceFiles f = FilesOf(name);
    if (!Exists(f.des) && !Exists(f.pic)) {
        *error = name + ": no such vids sequence (neither " + f.des + " nor " + f.pic + " exists)";
        return false;
    }
    return CheckFile(f.des, error) && CheckFile(f.pic, error);
}

SequenceDescription::SequenceDescription() : inf(nullptr) {
    if (!Img_INF_alloc(&inf))
        std::exit(1);   // the library said why; nothing works without a record
}

SequenceDescription::~SequenceDescription() { Img_INF_free(inf); }

bool SequenceDescription::Load(const std::string& name) {
    return Openvids(name.c_str(), inf, "old", kDescriptionOnly) == 0;
}

bool SequenceDescription::Save(const std::string& name, std::string* error) {
    const std::string path = FilesOf(name).des;
    FILE* f = std::fopen(path.c_str(), "w");
    if (f == nullptr) {
        *error = path + ": " + std::strerror(errno);
        return false;
    }
    inf->stream = f;
    const int written = put_info(inf, 0);
    inf->stream = nullptr;
    const bool closed = std::fclose(f) == 0;
    if (written != 0 || !closed) {
        *error = path + ": the description could not be written";
        return false;
    }
    return true;
}

int SequenceDescription::FileDataType() const { return Img_get_fdtype(inf); }

const char* SequenceDescription::FileDataTypeName() const {
    const int t = FileDataType();
    return t >= 0 && t <= 5 ? kTypeNames[t] : "unknown";
}

int64_t SequenceDescription::DataBytes() const {
    int64_t blk[3], smpl[3];
    int item = 0, bits = 0;
    cal_physize(inf, blk, smpl, &item, &bits);
    return static_cast<int64_t>(Img_get_nb_t(inf, 0)) * (blk[0] + blk[1] + blk[2]);
}

int SequenceDescription::VerticalOffset() const {
    int h = 0, v = 0, t = 0;
    Img_get_smpl_ofst(inf, 0, &h, &v, &t);
    return v;
}

void SequenceDescription::SetVerticalOffset(int v) {
    for (int c = 0; c < 3; ++c) {
        int h = 0, old = 0, t = 0;
        Img_get_smpl_ofst(inf, c, &h, &old, &t);
        Img_set_smpl_ofst(inf, c, h, v, t);
    }
}

std::vector<std::string> SequenceDescription::Variables(const std::string& name) const {
    std::vector<std::string> values;
    const int n = Img_get_num_var(inf);
    for (int i = 0; i < n && i < IMG_NB_VAR_MAX; ++i) {
        char varName[IMG_VAR_NAME_LEN + 1] = {};
        char value[IMG_VAR_LEN + 1] = {};
        Img_get_var_names(inf, i, varName);
        Img_get_variables(inf, i, value);
        if (name == varName)
            values.push_back(value);
    }
    return values;
}

std::string SequenceDescription::Variable(const std::string& name) const {
    const std::vector<std::string> values = Variables(name);
    return values.empty() ? std::string() : values.front();
}

bool SequenceDescription::AddVariable(const std::string& name, const std::string& value) {
    const int n = Img_get_num_var(inf);
    // The description file carries at most IMG_NB_VAR_MAX variables, each on one line;
    // its reader needs two characters before " =" and stops a value at byte 255.
    if (n >= IMG_NB_VAR_MAX || name.size() < 2 || name.size() >= IMG_VAR_NAME_LEN ||
        value.size() >= IMG_VAR_LEN)
        return false;
    if (name.find_first_of("=\n") != std::string::npos ||
        value.find_first_of(std::string("\n\xff", 2)) != std::string::npos)
        return false;
    Img_set_var_names(inf, n, name.c_str());
    Img_set_variables(inf, n, value.c_str());
    Img_set_num_var(inf, n + 1);
    return true;
}

void SequenceDescription::SetComments(const std::string& text) {
    Img_set_comments(inf, text.c_str());
}

}  // namespace y4m
