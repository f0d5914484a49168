// VidsFile: a BaseVFile on the vids library. It owns one IMG_INF record and turns every
// call into calls of that library. Whole frames travel in the file's component order
// Y, V, U (file component 1 is V, 2 is U); block transfers use the block's CompType as
// the file component number. Set the geometry before Open(name, OPEN_NEW); Open caches
// the per-component sizes that every transfer is checked against, so open before
// reading or writing. Every failure of the library reaches the caller: Open, Read and
// Write give 1 (a short data file, a failed write or flush), Close gives true when the
// data file could not be closed; check them, nothing else reports a lost frame.
#ifndef ORMEL_VIDSFILE_H
#define ORMEL_VIDSFILE_H

#include <cstddef>
#include <string>
#include <vector>

#include "image/BaseVFile.h"
#include "image/Types.h"

struct IMG_INF;

namespace ormel {

class BaseImage;
class ImageBlock;
class ImageSequence;

class VidsFile : public BaseVFile {
public:
    // Each constructor allocates a fresh record (ending the process with status 1, after
    // "Image not allocated memory.", when it cannot) and fills it; none opens a file.
    VidsFile();                                              // 352 x 288 4:2:0, 30 Hz, one frame
    VidsFile(ImageBlock& b, ChromaFormat f, bool interlaced);   // luminance only, b's size
    explicit VidsFile(const BaseImage& img);
    explicit VidsFile(const BaseVFile& src);
    VidsFile(const VidsFile& src);
    // Replaces the record by a fresh one set like a copy of src (the old one is closed
    // and released); the name and the cached sizes stay.
    VidsFile& operator=(const VidsFile& src);
    ~VidsFile() override;                                    // closes, then frees the record

    void SetNumberOfImages(int n) override;
    int NumberOfImages() const override;
    void SetFrameRate(float r) override;      // stored as given
    float FrameRate() const override;         // halved for an interlaced file (field rate)
    void SetWidth(int w) override;
    void SetHeight(int h) override;
    int Width() const override;
    int Height() const override;
    // Plane size of component c; a luminance-only file answers the luminance size for
    // every c, another file 22 for a component other than 0..2.
    int Width(CompType c) const override;
    int Height(CompType c) const override;
    void SetSamplingMatrices(ChromaFormat f, bool interlaced) override;
    ChromaFormat CFormat() const override;    // never YUV411
    bool Interlaced() const override;
    int Open(std::string name, OpenType mode) override;
    bool Close() override;
    int Read(BaseImage& img, int k) override;    // all six plane sizes must match
    int Write(BaseImage& img, int k) override;   // luminance size only, for only-Y files
    // U and V both report file component 1's flag.
    bool Sign(CompType c) const override;
    void SetSign(CompType c, bool is_signed) override;

    // Status: 18 done, 17 misfit, 22 chroma block of a luminance-only file (or a block of
    // no single component), 1 library failure. A block smaller than the plane travels as
    // a window at its origin; writing one beyond the end first adds a blank frame.
    int Read(ImageBlock& b, int k);
    int Write(ImageBlock& b, int k);
    // Read appends every frame of the file to seq; Write writes seq's images as frames
    // 0, 1, ... Status: 18 done, 17 misfit, 19 empty sequence (Write), 1 library failure
    // (Write tries every frame and fails when any one failed).
    int Read(ImageSequence& seq);
    int Write(ImageSequence& seq);

private:
    void AllocateRecord();
    void CopySettings(const BaseVFile& src);
    bool OnlyY() const;                        // luminance-only file or only-Y transfers
    void Selector(int use[3]) const;           // {1, 0, 0} or {1, 1, 1}
    bool FitsCached(const BaseImage& img) const;
    int WriteBlankFrame(int k, const int use[3]);   // the library's failure bit
    size_t FileSamples(int c) const;                      // samples of file component c

    // One block transfer: the file component, its selector, the buffer and the window.
    struct BlockTransfer {
        int use[3] = {0, 0, 0};
        int width[3] = {0, 0, 0}, height[3] = {0, 0, 0};
        int hstart[3] = {0, 0, 0}, vstart[3] = {0, 0, 0};
        bool wholePlane = false;
        std::vector<unsigned char> buf;
    };
    // 0 when b may be transferred (t filled in), else the status to return (22 or 17).
    int PrepareBlock(ImageBlock& b, BlockTransfer& t) const;

    IMG_INF* inf;
};

}  // namespace ormel

#endif
