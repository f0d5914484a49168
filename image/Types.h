// Types: the small enumerations and value types of the ormel image library.
// Enumerator values are fixed: they are stored in files and compared as integers.
#ifndef ORMEL_TYPES_H
#define ORMEL_TYPES_H

namespace ormel {

// Plane of a picture. ALL_COMP is accepted only by the whole-image operations.
enum CompType { Y_COMP = 0, U_COMP = 1, V_COMP = 2, ALL_COMP = 3 };

// Chroma format of a picture (chroma plane sizes follow from it).
enum ChromaFormat {
    YUV400 = 0,          // luminance only
    YUV422 = 1,          // chroma w/2 x h
    YUV444 = 2,          // chroma w x h
    YUV420 = 3,          // chroma w/2 x h/2
    YUV411 = 4,          // chroma w/4 x h
    UNKNOWN_FORMAT = 5   // a sequence file of any other format
};

// Open modes of a sequence file: create, existing, existing or else create.
enum OpenType { OPEN_NEW = 0, OPEN_OLD = 1, OPEN_OLD_NEW = 2 };

// Verbosity handed to the segmentation methods; only `verbose` prints extra lines.
enum Verbose { quiet = 0, verbose = 1 };

// A chroma pair (no luminance); first byte U, second byte V.
struct YUVColor {
    unsigned char u_value;
    unsigned char v_value;
};

// Full-intensity colours in 8-bit studio-range YCbCr (ITU-R BT.601).
inline constexpr YUVColor BLACK   = {128, 128};
inline constexpr YUVColor WHITE   = {128, 128};
inline constexpr YUVColor RED     = {90, 240};
inline constexpr YUVColor GREEN   = {54, 34};
inline constexpr YUVColor BLUE    = {240, 110};
inline constexpr YUVColor CYAN    = {166, 16};
inline constexpr YUVColor MAGENTA = {202, 222};
inline constexpr YUVColor YELLOW  = {16, 146};

}  // namespace ormel

#endif
