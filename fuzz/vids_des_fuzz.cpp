// Fuzz target: the description reader. The input is the description (seq.des) of an
// existing sequence whose data file holds 3000 bytes. The sequence is opened "old" as
// VidsFile opens it, every time sample that could lie in the data file is read as
// unsigned bytes, and it is closed; then the same description is read alone (0x200) and
// compared with a fixed record ("old/new"). A description that reads must describe a
// frame within the limit, and once written and read back it must stay what it is: the
// writer and the reader agree on every record the reader can make (the comment gaining
// its line feed). Last the sequence is opened as gme opens its input, through VidsFile,
// and its first frames are read into a YUVImage made from it. Nothing is ever written
// but files in the private directory.
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "fuzz/fuzz_support.h"
#include "image/VidsFile.h"
#include "image/YUVImage.h"
#include "vids/vids.h"

namespace {

const size_t kPicBytes = 3000;
const int64_t kMaxBuffer = 1 << 22;   // larger planes are not read (their open still is)
const int kMaxTimeSamples = 16;

void ReadSamples(IMG_INF* inf) {
    int64_t blk[3], smpl[3];
    int item, bits;
    cal_physize(inf, blk, smpl, &item, &bits);
    const int64_t R = blk[0] + blk[1] + blk[2];
    std::vector<unsigned char> buf[3];
    int use[3];
    for (int c = 0; c < 3; ++c) {
        use[c] = Img_check_comp_exists(inf, c);
        if (smpl[c] > kMaxBuffer) return;
        buf[c].resize(static_cast<size_t>(smpl[c]) + 1);
    }
    // Up to one time sample past what the data file holds, to reach its end, and never
    // more than a few (a description may declare millions of empty ones).
    const int nb_t = Img_get_nb_t(inf, 0);
    for (int t = 0; t < nb_t && t < kMaxTimeSamples && t * R <= static_cast<int64_t>(kPicBytes);
         ++t)
        Readvids(t, use, IMG_UBYTE, buf[0].data(), buf[1].data(), buf[2].data(), inf, 39);
}

void Check(bool ok) {
    if (!ok) __builtin_trap();
}

// put_info of inf into path, then get_info of it into out: true when both succeed.
bool WriteAndRead(IMG_INF* inf, const std::string& path, IMG_INF* out) {
    inf->stream = fopen(path.c_str(), "w");
    Check(inf->stream != nullptr);
    const bool written = put_info(inf, 0) == 0;
    fclose(inf->stream);
    inf->stream = nullptr;
    out->stream = fopen(path.c_str(), "r");
    Check(out->stream != nullptr);
    const bool read = get_info(out, 0) == 0;
    fclose(out->stream);
    out->stream = nullptr;
    return written && read;
}

// a and b hold the same description; b's comment is a's and one line feed.
void CheckSameDescription(const IMG_INF* a, const IMG_INF* b) {
    Check(memcmp(a->size, b->size, sizeof a->size) == 0);
    Check(memcmp(a->freq, b->freq, sizeof a->freq) == 0);
    Check(memcmp(a->comp_nam, b->comp_nam, sizeof a->comp_nam) == 0);
    Check(memcmp(a->smpl_mtrx, b->smpl_mtrx, sizeof a->smpl_mtrx) == 0);
    Check(memcmp(a->smpl_ofst, b->smpl_ofst, sizeof a->smpl_ofst) == 0);
    Check(a->fdtype == b->fdtype && a->file_org == b->file_org);
    Check(memcmp(a->dsign, b->dsign, sizeof a->dsign) == 0);
    Check(a->scale_fctr == b->scale_fctr && a->num_var == b->num_var);
    for (int i = 0; i < a->num_var; ++i) {
        Check(strcmp(a->var_names[i], b->var_names[i]) == 0);
        Check(strcmp(a->variables[i], b->variables[i]) == 0);
    }
    Check(std::string(a->comments) + "\n" == b->comments);
}

// The description read into inf, written and read back twice: the second reading gives
// the first again.
void CheckRoundTrip(IMG_INF* inf) {
    Check(Img_check_area(inf->size[0], inf->size[1]));
    IMG_INF* once = nullptr;
    IMG_INF* twice = nullptr;
    Check(Img_INF_alloc(&once) && Img_INF_alloc(&twice));
    const std::string path = fuzz::PathOf("again.des");
    Check(WriteAndRead(inf, path, once));
    Check(WriteAndRead(once, path, twice));
    CheckSameDescription(once, twice);
    Img_INF_free(once);
    Img_INF_free(twice);
}

// Frames through the class library: a YUVImage of the file's planes, read frame by frame
// as luminance and chroma, each read done (18) or failed (1).
void ReadFrames(const std::string& seq) {
    ormel::VidsFile f;
    if (f.Open(seq, ormel::OPEN_OLD) != 0) return;
    int64_t samples = 0;
    for (int c = 0; c < 3; ++c) {
        const int w = f.Width(static_cast<ormel::CompType>(c));
        const int h = f.Height(static_cast<ormel::CompType>(c));
        samples += static_cast<int64_t>(w > 0 ? w : 0) * (h > 0 ? h : 0);
    }
    if (samples > kMaxBuffer) return;
    ormel::YUVImage img(f);
    for (int k = 0; k < f.NumberOfImages() && k < kMaxTimeSamples; ++k) {
        const int rc = f.Read(img, k);
        Check(rc == 18 || rc == 1);
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static const std::vector<uint8_t> pic = [] {
        std::vector<uint8_t> p(kPicBytes);
        for (size_t i = 0; i < p.size(); ++i) p[i] = static_cast<uint8_t>(i * 37 + 11);
        return p;
    }();
    const std::string seq = fuzz::PathOf("seq");
    fuzz::WriteFile(seq + ".des", data, size);
    fuzz::WriteFile(seq + ".pic", pic.data(), pic.size());

    IMG_INF* inf = nullptr;
    if (!Img_INF_alloc(&inf)) return 0;
    if (Openvids(seq.c_str(), inf, "old", 7) == 0) ReadSamples(inf);
    Closevids(inf, 0);
    if (Openvids(seq.c_str(), inf, "old", 0x200 + 7) == 0) CheckRoundTrip(inf);
    Img_set_default(inf);
    Openvids(seq.c_str(), inf, "old/new", 7);
    Closevids(inf, 0);
    Img_INF_free(inf);
    ReadFrames(seq);
    return 0;
}
