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
    if (mode < OPEN_NEW || mode > OPEN_OLD_NEW)
        return 3;
    return 1;   // sequences cannot be opened yet
}

bool VidsFile::Close() { return (Closevids(inf, 0) & 1) != 0; }

// ---- Transfers: not available until sequences can be opened ----------------------

int VidsFile::Read(BaseImage&, int) { return 1; }
int VidsFile::Write(BaseImage&, int) { return 1; }
int VidsFile::Read(ImageSequence&) { return 1; }
int VidsFile::Write(ImageSequence& seq) { return seq.NumberOfImages() <= 0 ? 19 : 1; }
int VidsFile::Read(ImageBlock&, int) { return 1; }
int VidsFile::Write(ImageBlock&, int) { return 1; }

}  // namespace ormel
