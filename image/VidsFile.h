// VidsFile: a BaseVFile on the vids library. It owns one IMG_INF record and turns every
// call into calls of that library. Whole frames travel in the file's component order
// Y, V, U; block transfers use the block's CompType as the file component number.
// Set the geometry before Open(name, OPEN_NEW); Open caches the per-component sizes
// that every transfer is checked against.
#ifndef ORMEL_VIDSFILE_H
#define ORMEL_VIDSFILE_H

#include <string>

#include "image/BaseVFile.h"
#include "image/Types.h"

struct IMG_INF;

namespace ormel {

class BaseImage;
class ImageBlock;
class ImageSequence;

class VidsFile : public BaseVFile {
public:
    VidsFile();                                              // 352 x 288 4:2:0, 30 Hz, one frame
    VidsFile(ImageBlock& b, ChromaFormat f, bool interlaced);
    explicit VidsFile(const BaseImage& img);
    explicit VidsFile(const BaseVFile& src);
    VidsFile(const VidsFile& src);
    VidsFile& operator=(const VidsFile& src);
    ~VidsFile() override;

    void SetNumberOfImages(int n) override;
    int NumberOfImages() const override;
    void SetFrameRate(float r) override;      // stored as given
    float FrameRate() const override;         // halved for an interlaced file
    void SetWidth(int w) override;
    void SetHeight(int h) override;
    int Width() const override;
    int Height() const override;
    int Width(CompType c) const override;     // 22 for a component other than 0..2
    int Height(CompType c) const override;
    void SetSamplingMatrices(ChromaFormat f, bool interlaced) override;
    ChromaFormat CFormat() const override;    // never YUV411
    bool Interlaced() const override;
    int Open(std::string name, OpenType mode) override;
    bool Close() override;
    int Read(BaseImage& img, int k) override;
    int Write(BaseImage& img, int k) override;
    bool Sign(CompType c) const override;
    void SetSign(CompType c, bool is_signed) override;

    // Status: 18 done, 17 misfit, 22 chroma block of a luminance-only file, 1 library failure.
    int Read(ImageBlock& b, int k);
    int Write(ImageBlock& b, int k);
    // Status: 18 done, 17 misfit, 19 empty sequence (Write), 1 library failure.
    int Read(ImageSequence& seq);
    int Write(ImageSequence& seq);

private:
    IMG_INF* inf;
};

}  // namespace ormel

#endif
