// Fuzz target: the description reader. The input is the description (seq.des) of an
// existing sequence whose data file holds 3000 bytes. The sequence is opened "old" as
// VidsFile opens it, every time sample that could lie in the data file is read as
// unsigned bytes, and it is closed; then the same description is read alone (0x200) and
// compared with a fixed record ("old/new"). Nothing is ever written but the two files.
#include <cstddef>
#include <cstdint>
#include <vector>

#include "fuzz/fuzz_support.h"
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
    Openvids(seq.c_str(), inf, "old", 0x200 + 7);
    Img_set_default(inf);
    Openvids(seq.c_str(), inf, "old/new", 7);
    Closevids(inf, 0);
    Img_INF_free(inf);
    return 0;
}
