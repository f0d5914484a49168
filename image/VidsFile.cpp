// VidsFile: settings, opening and frame, block and sequence transfers over the vids library.
#include "image/VidsFile.h"

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <iostream>
#include <vector>

#include "image/BaseImage.h"
#include "image/ImageBlock.h"
#include "image/ImageSequence.h"
#include "image/YUVImage.h"
#include "vids/vids.h"

namespace ormel {

namespace {

// Library flags: 7 keeps the open and transfer warnings quiet; 32 maps signed samples
// onto unsigned bytes by an offset of 128; 0x1000 lets a write extend the sequence.
constexpr int kOpenFlags = 7;
constexpr int kReadFlags = 32 + 7;
constexpr int kWriteFlags = 0x1000 + 32 + 7;

// Buffers of a whole frame in file order Y, V, U. The chroma planes of a luminance-only
// picture hold no samples, and a missing image has none at all: those are passed as
// null so that the library refuses a transfer that asks for them.
void FramePlanes(BaseImage* img, unsigned char* p[3]) {
    p[0] = p[1] = p[2] = nullptr;
    if (!img)
        return;
    p[0] = img->GetArray(Y_COMP);
    if (img->CFormat() == YUV400)
        return;
    p[1] = img->GetArray(V_COMP);
    p[2] = img->GetArray(U_COMP);
}

}  // namespace

// ---- Construction -----------------------------------------------------------------

void VidsFile::AllocateRecord() {
    if (!Img_INF_alloc(&inf)) {
        // Nothing can be done without a record.
        std::cout << "Image not allocated memory." << std::endl;
        std::exit(1);
    }
}

VidsFile::VidsFile() : BaseVFile(), inf(nullptr) {
    AllocateRecord();
    SetOnlyYComponent(false);
    SetFrameRate(30.0f);
    SetSamplingMatrices(YUV420, false);
    SetWidth(352);
    SetHeight(288);
    Img_set_dsigns(inf, 0, 0, 0);
    SetNumberOfImages(1);
}

VidsFile::VidsFile(ImageBlock& b, ChromaFormat f, bool interlaced) : BaseVFile(), inf(nullptr) {
    AllocateRecord();
    SetOnlyYComponent(true);
    SetWidth(b.Width());
    SetHeight(b.Height());
    SetSamplingMatrices(f, interlaced);
    for (int c = 0; c < 3; ++c)
        SetSign(static_cast<CompType>(c), false);
    SetNumberOfImages(1);
}

VidsFile::VidsFile(const BaseImage& img) : BaseVFile(), inf(nullptr) {
    AllocateRecord();
    SetOnlyYComponent(false);
    SetWidth(img.Width(Y_COMP));
    SetHeight(img.Height(Y_COMP));
    SetSamplingMatrices(img.CFormat(), false);
    for (int c = 0; c < 3; ++c)
        SetSign(static_cast<CompType>(c), false);
    SetNumberOfImages(1);
}

VidsFile::VidsFile(const BaseVFile& src) : BaseVFile(), inf(nullptr) {
    AllocateRecord();
    CopySettings(src);
}

VidsFile::VidsFile(const VidsFile& src) : BaseVFile(), inf(nullptr) {
    AllocateRecord();
    CopySettings(src);
}

VidsFile& VidsFile::operator=(const VidsFile& src) {
    if (&src == this)
        return *this;
    IMG_INF* old = inf;
    AllocateRecord();
    CopySettings(src);
    Closevids(old, 0);
    Img_INF_free(old);
    return *this;
}

VidsFile::~VidsFile() {
    Closevids(inf, 0);   // harmless when Close already ran
    Img_INF_free(inf);
}

void VidsFile::CopySettings(const BaseVFile& src) {
    SetOnlyYComponent(src.OnlyYComponent());
    SetWidth(src.Width());
    SetHeight(src.Height());
    SetFrameRate(src.FrameRate());
    SetSamplingMatrices(src.CFormat(), src.Interlaced());
    for (int c = 0; c < 3; ++c)
        SetSign(static_cast<CompType>(c), src.Sign(static_cast<CompType>(c)));
    SetNumberOfImages(1);
}

// ---- Settings ---------------------------------------------------------------------

void VidsFile::SetNumberOfImages(int n) { Img_set_size(inf, 2, n); }
int VidsFile::NumberOfImages() const { return Img_get_size(inf, 2); }
void VidsFile::SetFrameRate(float r) { Img_set_freq(inf, 2, r); }

float VidsFile::FrameRate() const {
    const float freq = Img_get_freq(inf, 2);
    // An interlaced file stores its field rate.
    if (Img_check_if_interlaced(inf))
        return static_cast<float>(freq / 2.0);
    return freq;
}

void VidsFile::SetWidth(int w) { Img_set_size(inf, 0, w); }
void VidsFile::SetHeight(int h) { Img_set_size(inf, 1, h); }
int VidsFile::Width() const { return Img_get_size(inf, 0); }
int VidsFile::Height() const { return Img_get_size(inf, 1); }

int VidsFile::Width(CompType c) const {
    if (CFormat() == YUV400)
        return Img_get_nb_h(inf, 0);
    switch (c) {
    case Y_COMP: return Img_get_nb_h(inf, 0);
    case U_COMP: return Img_get_nb_h(inf, 2);
    case V_COMP: return Img_get_nb_h(inf, 1);
    default: return 22;
    }
}

int VidsFile::Height(CompType c) const {
    if (CFormat() == YUV400)
        return Img_get_nb_v(inf, 0);
    switch (c) {
    case Y_COMP: return Img_get_nb_v(inf, 0);
    case U_COMP: return Img_get_nb_v(inf, 2);
    case V_COMP: return Img_get_nb_v(inf, 1);
    default: return 22;
    }
}

void VidsFile::SetSamplingMatrices(ChromaFormat f, bool interlaced) {
    const int il = interlaced ? 1 : 0;
    int code;
    switch (f) {
    case YUV422: code = IMG_FMT_YC_422; break;
    case YUV400: code = IMG_FMT_MONO; break;
    case YUV420: code = IMG_FMT_YC_420; break;
    case YUV411:
        // The library knows no 4:1:1 lattice: chroma every fourth pixel, and with
        // interlace every second line with a one-line shift per field.
        Img_set_smpl_mtrx(inf, 0, 1, 0, 1 + il, 0, il, 1);
        Img_set_smpl_mtrx(inf, 1, 4, 0, 1 + il, 0, il, 1);
        Img_set_smpl_mtrx(inf, 2, 4, 0, 1 + il, 0, il, 1);
        Img_set_comp_nam(inf, 0, "Y");
        Img_set_comp_nam(inf, 1, "C1");
        Img_set_comp_nam(inf, 2, "C2");
        return;
    default: code = IMG_FMT_YC_444; break;   // 4:4:4 and every other value
    }
    Img_set_smpl_matrices(inf, code, il);
    Img_set_comp_names(inf, code);
}

ChromaFormat VidsFile::CFormat() const {
    switch (Img_get_format(inf)) {
    case IMG_FMT_YC_422: return YUV422;
    case IMG_FMT_MONO: return YUV400;
    case IMG_FMT_YC_420: return YUV420;
    case IMG_FMT_YC_444: return YUV444;
    default: return UNKNOWN_FORMAT;
    }
}

bool VidsFile::Interlaced() const { return Img_check_if_interlaced(inf) > 0; }

bool VidsFile::Sign(CompType c) const {
    int s0 = 0, s1 = 0, s2 = 0;
    Img_get_dsigns(inf, &s0, &s1, &s2);
    if (c == U_COMP || c == V_COMP)
        return s1 == 1;
    return s0 == 1;
}

void VidsFile::SetSign(CompType c, bool is_signed) {
    const int k = c == U_COMP ? 2 : c == V_COMP ? 1 : 0;
    Img_set_dsign(inf, k, is_signed ? 1 : 0);
}

// ---- Opening ----------------------------------------------------------------------

int VidsFile::Open(std::string name, OpenType mode) {
    this->name = name;
    static const char* const kModes[3] = {"new", "old", "old/new"};
    if (mode < OPEN_NEW || mode > OPEN_OLD_NEW)
        return 3;
    const int result = Openvids(this->name.c_str(), inf, kModes[mode], kOpenFlags);
    if (result & 1)
        return 1;
    for (int c = 0; c < 3; ++c) {
        cached_width[c] = Width(static_cast<CompType>(c));
        cached_height[c] = Height(static_cast<CompType>(c));
    }
    return (result & 2) ? 2 : 0;
}

bool VidsFile::Close() { return (Closevids(inf, 0) & 1) != 0; }

// ---- Whole frames -----------------------------------------------------------------

bool VidsFile::OnlyY() const { return CFormat() == YUV400 || OnlyYComponent(); }

void VidsFile::Selector(int use[3]) const {
    const bool only = OnlyY();
    use[0] = 1;
    use[1] = only ? 0 : 1;
    use[2] = only ? 0 : 1;
}

bool VidsFile::FitsCached(const BaseImage& img) const {
    for (int c = 0; c < 3; ++c) {
        if (cached_width[c] != img.Width(static_cast<CompType>(c)) ||
            cached_height[c] != img.Height(static_cast<CompType>(c)))
            return false;
    }
    return true;
}

int VidsFile::Read(BaseImage& img, int k) {
    int use[3];
    Selector(use);
    if (!FitsCached(img))
        return 17;
    unsigned char* p[3];
    FramePlanes(&img, p);
    const int result = Readvids(k, use, IMG_UBYTE, p[0], p[1], p[2], inf, kReadFlags);
    return (result & 1) ? 1 : 18;
}

int VidsFile::Write(BaseImage& img, int k) {
    int use[3];
    Selector(use);
    // Only the luminance size matters when only luminance is written.
    const bool lumaFits = OnlyY() && cached_width[0] == img.Width(Y_COMP) &&
                          cached_height[0] == img.Height(Y_COMP);
    if (!lumaFits && !FitsCached(img))
        return 17;
    unsigned char* p[3];
    FramePlanes(&img, p);
    const int result = Writevids(k, use, IMG_UBYTE, p[0], p[1], p[2], inf, kWriteFlags);
    return (result & 1) ? 1 : 18;
}

// ---- Sequences --------------------------------------------------------------------

int VidsFile::Read(ImageSequence& seq) {
    const int n = Img_get_size(inf, 2);
    int use[3];
    Selector(use);
    for (int k = 0; k < n; ++k) {
        YUVImage* img = new YUVImage(static_cast<const BaseVFile&>(*this));
        if (!FitsCached(*img)) {
            delete img;
            return 17;
        }
        unsigned char* p[3];
        FramePlanes(img, p);
        if (Readvids(k, use, IMG_UBYTE, p[0], p[1], p[2], inf, kReadFlags) & 1) {
            delete img;
            return 1;
        }
        if (seq.push_back(img) == 17) {
            delete img;
            return 17;
        }
    }
    return 18;
}

int VidsFile::Write(ImageSequence& seq) {
    const int n = seq.NumberOfImages();
    if (n <= 0)
        return 19;
    int use[3];
    Selector(use);
    for (int c = 0; c < 3; ++c) {
        if (cached_width[c] != seq.Width(static_cast<CompType>(c)) ||
            cached_height[c] != seq.Height(static_cast<CompType>(c)))
            return 17;
    }
    // Every frame is attempted; one failed frame fails the whole.
    int failed = 0;
    for (int k = 0; k < n; ++k) {
        unsigned char* p[3];
        FramePlanes(seq[k], p);
        failed |= Writevids(k, use, IMG_UBYTE, p[0], p[1], p[2], inf, kWriteFlags) & 1;
    }
    return failed ? 1 : 18;
}

// ---- Blocks -----------------------------------------------------------------------
// A block addresses file component ComponentType() directly (U_COMP is file component
// 1), unlike the whole-frame transfers.

size_t VidsFile::FileSamples(int c) const {
    const int nh = Img_get_nb_h(inf, c);
    const int nv = Img_get_nb_v(inf, c);
    return nh > 0 && nv > 0 ? static_cast<size_t>(nh) * static_cast<size_t>(nv) : 0;
}

int VidsFile::PrepareBlock(ImageBlock& b, BlockTransfer& t) const {
    const int c = b.ComponentType();
    if (c < Y_COMP || c > V_COMP || (OnlyY() && c != Y_COMP))
        return 22;
    const int w = b.Width();
    const int h = b.Height();
    if (w < 1 || h < 1 || cached_width[c] < w || cached_height[c] < h)
        return 17;
    t.use[c] = 1;
    t.wholePlane = cached_width[c] == w && cached_height[c] == h;
    t.width[c] = w;
    t.height[c] = h;
    t.hstart[c] = b.get_horizontal_min_extent();
    t.vstart[c] = b.get_vertical_min_extent();
    // The library moves file component c's whole plane, which is sized by the other
    // chroma component's cached size when c is a chroma component: room for both.
    t.buf.assign(std::max(static_cast<size_t>(w) * static_cast<size_t>(h), FileSamples(c)), 0);
    return 0;
}

int VidsFile::Read(ImageBlock& b, int k) {
    BlockTransfer t;
    if (const int refused = PrepareBlock(b, t))
        return refused;
    unsigned char* p = t.buf.data();
    const int result =
        t.wholePlane ? Readvids(k, t.use, IMG_UBYTE, p, p, p, inf, kReadFlags)
                     : Readwinvids(k, t.use, IMG_UBYTE, p, p, p, inf, t.width, t.height,
                                   t.hstart, t.vstart, kReadFlags);
    if (b.CopyFrom(p) != 24)
        return 17;
    return (result & 1) ? 1 : 18;
}

int VidsFile::Write(ImageBlock& b, int k) {
    BlockTransfer t;
    if (const int refused = PrepareBlock(b, t))
        return refused;
    unsigned char* p = t.buf.data();
    if (b.CopyTo(p) != 23)
        return 17;
    // A window of a frame that does not exist yet lands in a blank frame.
    if (!t.wholePlane && k > NumberOfImages() - 1 && WriteBlankFrame(k, t.use) != 0)
        return 1;
    const int result =
        t.wholePlane ? Writevids(k, t.use, IMG_UBYTE, p, p, p, inf, kWriteFlags)
                     : Writewinvids(k, t.use, IMG_UBYTE, p, p, p, inf, t.width, t.height,
                                    t.hstart, t.vstart, kWriteFlags);
    return (result & 1) ? 1 : 18;
}

int VidsFile::WriteBlankFrame(int k, const int use[3]) {
    // Planes of the cached sizes in component order 0, 1, 2: black luminance, grey chroma.
    std::vector<unsigned char> planes[3];
    for (int c = 0; c < 3; ++c) {
        const size_t cached = cached_width[c] > 0 && cached_height[c] > 0
                                  ? static_cast<size_t>(cached_width[c]) *
                                        static_cast<size_t>(cached_height[c])
                                  : 0;
        planes[c].assign(std::max(cached, FileSamples(c)), c == 0 ? 0 : 128);
    }
    const int result = Writevids(k, use, IMG_UBYTE, planes[0].data(), planes[1].data(),
                                 planes[2].data(), inf, kWriteFlags);
    return result & 1;
}

}  // namespace ormel
