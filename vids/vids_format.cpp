/* Sample formats of the data file: machine checks, type sizes, block layout and byte
 * swapping. */
#include <cstdio>
#include <cstring>

#include "vids/vids.h"
#include "vids/vids_private.h"

int Valid_machine(void) {
    int ok = 1;
    if (sizeofdat_f(IMG_FDT_OCTET) != 1) {
        fputs("Bad machine! sizeof(IMG_BYTE) != 1\n", stderr);
        ok = 0;
    }
    if (sizeofdat_f(IMG_FDT_ENTIER_2) != 2) {
        fputs("Bad machine! sizeof(IMG_INT_2) != 2\n", stderr);
        ok = 0;
    }
    if (sizeofdat_f(IMG_FDT_REEL) != 4) {
        fputs("Bad machine! sizeof(IMG_REAL) != 4\n", stderr);
        ok = 0;
    }
    return ok;
}

int get_memory_organization(void) {
    const uint64_t probe = 0x0102030405060708ULL;
    unsigned char first;
    memcpy(&first, &probe, 1);
    if (first == 0x01) return IMG_ORG_SUN;
    if (first == 0x08) return IMG_ORG_DEC;
    return IMG_ORG_UNKNOWN;
}

int mydtype(int fdtype, int sign, int* nbits) {
    switch (fdtype) {
        case IMG_FDT_OCTET: *nbits = 8; return sign ? IMG_BYTE : IMG_UBYTE;
        case IMG_FDT_ENTIER_2: *nbits = 16; return sign ? IMG_INT_2 : IMG_UINT_2;
        case IMG_FDT_REEL: *nbits = 32; return IMG_REAL;
        case IMG_FDT_1_BIT: *nbits = 1; return IMG_UBYTE;
        case IMG_FDT_2_BITS: *nbits = 2; return IMG_UBYTE;
        case IMG_FDT_4_BITS: *nbits = 4; return IMG_UBYTE;
        default: Img_fatal("Internal error!! Couldn't find type in 'mydtype'\n");
    }
}

int sizeofdat(int data_type) {
    if (data_type > IMG_UINT_2) Img_fatal("sizeofdat: Requested d_type invalid\n");
    if (data_type == IMG_REAL) return 4;
    if (data_type == IMG_INT_2 || data_type == IMG_UINT_2) return 2;
    return 1;
}

int sizeofdat_f(int fdtype) {
    if (fdtype > 7) Img_fatal("sizeofdat_f: Requested d_type invalid\n");
    if (fdtype == IMG_FDT_REEL) return 4;
    if (fdtype == IMG_FDT_ENTIER_2 || fdtype == 7) return 2;
    return 1;
}

namespace {
const int64_t kUnitBytes = 512;
const int64_t kUnitBits = 8 * kUnitBytes;
}  // namespace

void cal_physize(const IMG_INF* inf, int64_t blk_size[3], int64_t nb_smpl[3], int* item_size,
                 int* nb_bits) {
    static const int kBits[6] = {8, 16, 32, 1, 2, 4};
    const int bits = inf->fdtype >= 0 && inf->fdtype <= 5 ? kBits[inf->fdtype] : 8;
    for (int c = 0; c < 3; ++c) {
        nb_smpl[c] = static_cast<int64_t>(Img_get_nb_h(inf, c)) * Img_get_nb_v(inf, c);
        /* Whole 512-byte units, exactly: the single-precision quotient of old falls one unit
         * short when it rounds the sample count down onto a unit boundary (8-bit 4097 x 4097),
         * and equals this everywhere else. */
        blk_size[c] = (nb_smpl[c] * bits + kUnitBits - 1) / kUnitBits * kUnitBytes;
    }
    *item_size = sizeofdat_f(inf->fdtype < 0 ? 0 : inf->fdtype);
    *nb_bits = bits;
}

void Shuffle_int2(void* p, int64_t n) {
    unsigned char* b = static_cast<unsigned char*>(p);
    for (int64_t i = 0; i < n; ++i, b += 2) {
        const unsigned char t = b[0];
        b[0] = b[1];
        b[1] = t;
    }
}

void Shuffle_real(void* p, int64_t n) {
    unsigned char* b = static_cast<unsigned char*>(p);
    for (int64_t i = 0; i < n; ++i, b += 4) {
        unsigned char t = b[0];
        b[0] = b[3];
        b[3] = t;
        t = b[1];
        b[1] = b[2];
        b[2] = t;
    }
}
