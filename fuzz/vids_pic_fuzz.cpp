// Fuzz target: the sample reader. The first bytes of the input choose a sequence (file
// type, chroma layout and interlace, byte order, signs, sizes, time samples, scale
// factor, transfer flags and a window); the rest is its data file, which may be short or
// of any odd size. The description is written from that record, the sequence opened
// "old", and every time sample read, all components at once and each alone, in every
// in-memory type, then through a window. Buffers have exactly the size the API states.
// A read of a whole time sample must succeed exactly when the data file holds all its
// samples, and a read in a component's own type, unswapped, must give the file's bytes.
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <vector>

#include "fuzz/fuzz_support.h"
#include "vids/vids.h"

namespace {

const size_t kHeader = 12;
const int kFormats[5] = {IMG_FMT_MONO, IMG_FMT_YC_420, IMG_FMT_YC_422, IMG_FMT_YC_444,
                         IMG_FMT_RGB};

struct Choice {
    int fdtype, format, interlaced, file_org, signs, width, height, frames, scale, flags;
    int win[4];   // width, height, start column, start row (component sizes permitting)
};

Choice Decode(const uint8_t* h) {
    Choice c;
    c.fdtype = h[0] % 6;
    c.format = kFormats[h[1] % 5];
    c.interlaced = (h[1] >> 7) & 1;
    c.file_org = h[2] % 3;
    c.signs = h[3];
    c.width = 1 + h[4] % 96;
    c.height = 1 + h[5] % 64;
    c.frames = 1 + h[6] % 4;
    // A power of two for 16-bit files (16384 is the largest valid one), anything else
    // for the others, zero and negatives included.
    c.scale = c.fdtype == IMG_FDT_ENTIER_2 ? 1 << (h[7] % 16) : static_cast<int8_t>(h[7]);
    c.flags = h[8] & (1 | 2 | 4 | 16 | 32);
    c.win[0] = 1 + h[9] % 16;
    c.win[1] = 1 + h[10] % 8;
    c.win[2] = h[11] % 32;
    c.win[3] = h[11] / 32;
    return c;
}

// Writes the description of c for sequence seq; false when the record refuses it.
bool Describe(const Choice& c, const std::string& seq) {
    IMG_INF* inf = nullptr;
    if (!Img_INF_alloc(&inf)) return false;
    Img_set_fname(inf, seq.c_str());
    Img_set_sizes(inf, c.width, c.height, c.frames);
    Img_set_comp_names(inf, c.format);
    Img_set_smpl_matrices(inf, c.format, c.interlaced);
    Img_set_fdtype(inf, c.fdtype);
    Img_set_file_org(inf, c.file_org);
    Img_set_dsigns(inf, c.signs & 1, (c.signs >> 1) & 1, (c.signs >> 2) & 1);
    inf->scale_fctr = c.scale;   // unchecked, as a description may hold it
    inf->stream = fopen((seq + ".des").c_str(), "w");
    const bool ok = inf->stream != nullptr && put_info(inf, 0) == 0;
    if (inf->stream != nullptr) fclose(inf->stream);
    inf->stream = nullptr;
    Img_INF_free(inf);
    return ok;
}

void Check(bool ok) {
    if (!ok) __builtin_trap();
}

// Where each component's samples lie in a time sample, as the format lays them out.
struct Layout {
    int64_t record;      // bytes of one time sample
    int64_t offset[3];   // start of each component's block in it
    int64_t used[3];     // bytes its samples fill (packed for the bit types)
};

Layout LayoutOf(const IMG_INF* inf) {
    int64_t blk[3], smpl[3];
    int item, bits;
    cal_physize(inf, blk, smpl, &item, &bits);
    const int64_t per_byte = bits < 8 ? 8 / bits : 1;
    Layout l;
    l.record = 0;
    for (int c = 0; c < 3; ++c) {
        l.offset[c] = l.record;
        l.used[c] = (smpl[c] + per_byte - 1) / per_byte * item;
        l.record += blk[c];
    }
    return l;
}

// The read of time sample t (all existing components into p, in type) against the data
// file's bytes.
void CheckWholeRead(const IMG_INF* inf, const Layout& l, const std::vector<uint8_t>& pic,
                    int t, int type, uint8_t* const p[3], bool done) {
    int64_t end = 0;   // the data file must reach this for the read to succeed
    for (int c = 0; c < 3; ++c)
        if (Img_check_comp_exists(inf, c)) end = t * l.record + l.offset[c] + l.used[c];
    Check(done == (t < Img_get_nb_t(inf, 0) && end <= static_cast<int64_t>(pic.size())));
    if (!done) return;
    for (int c = 0; c < 3; ++c) {
        if (!Img_check_comp_exists(inf, c)) continue;
        int bits;
        const int natural = mydtype(inf->fdtype, inf->dsign[c], &bits);
        const bool swapped = inf->shuffle && natural != IMG_BYTE && natural != IMG_UBYTE;
        if (type != natural || swapped) continue;
        const uint8_t* file = pic.data() + t * l.record + l.offset[c];
        Check(memcmp(p[c], file, static_cast<size_t>(l.used[c])) == 0);
    }
}

void ReadAll(IMG_INF* inf, const Choice& ch, const std::vector<uint8_t>& pic) {
    const int nb_t = Img_get_nb_t(inf, 0);
    const Layout layout = LayoutOf(inf);
    for (int type = IMG_BYTE; type <= IMG_UINT_2; ++type) {
        std::vector<uint8_t> buf[3];
        int exists[3];
        for (int c = 0; c < 3; ++c) {
            exists[c] = Img_check_comp_exists(inf, c);
            const size_t n = static_cast<size_t>(Img_get_nb_h(inf, c)) * Img_get_nb_v(inf, c);
            buf[c].resize(n * Img_get_sizeof_data_type(type));
        }
        uint8_t* p[3];
        for (int c = 0; c < 3; ++c) p[c] = buf[c].empty() ? nullptr : buf[c].data();
        for (int t = 0; t <= nb_t; ++t) {   // one past the end: refused
            const bool done = Readvids(t, exists, type, p[0], p[1], p[2], inf, ch.flags) == 0;
            CheckWholeRead(inf, layout, pic, t, type, p, done);
            if (!done) continue;
            for (int c = 0; c < 3; ++c) {
                int one[3] = {0, 0, 0};
                one[c] = 1;
                Readvids(t, one, type, p[0], p[1], p[2], inf, ch.flags);
            }
        }
        // A window of each component that can hold it, in the last time sample.
        int width[3], height[3], hs[3], vs[3], use[3];
        std::vector<uint8_t> win[3];
        for (int c = 0; c < 3; ++c) {
            width[c] = ch.win[0];
            height[c] = ch.win[1];
            hs[c] = ch.win[2];
            vs[c] = ch.win[3];
            use[c] = exists[c] && hs[c] + width[c] <= Img_get_nb_h(inf, c) &&
                     vs[c] + height[c] <= Img_get_nb_v(inf, c);
            win[c].resize(static_cast<size_t>(width[c]) * height[c] *
                          Img_get_sizeof_data_type(type));
        }
        Readwinvids(nb_t - 1, use, type, win[0].data(), win[1].data(), win[2].data(), inf, width,
                    height, hs, vs, ch.flags);
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size < kHeader) return 0;
    const Choice ch = Decode(data);
    const std::string seq = fuzz::PathOf("seq");
    if (!Describe(ch, seq)) return 0;
    const std::vector<uint8_t> pic(data + kHeader, data + size);
    fuzz::WriteFile(seq + ".pic", pic.data(), pic.size());
    IMG_INF* inf = nullptr;
    if (!Img_INF_alloc(&inf)) return 0;
    if (Openvids(seq.c_str(), inf, "old", 7) == 0) ReadAll(inf, ch, pic);
    Closevids(inf, 0);
    Img_INF_free(inf);
    return 0;
}
