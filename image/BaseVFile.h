// BaseVFile: abstract video sequence file: geometry, timing, chroma format, signs and
// the transfer of whole frames by index. VidsFile implements it on the vids library.
// The per-component sizes are cached by Open: open a file before reading or writing it.
#ifndef ORMEL_BASEVFILE_H
#define ORMEL_BASEVFILE_H

#include <string>

#include "image/Types.h"

namespace ormel {

class BaseImage;

class BaseVFile {
public:
    BaseVFile();
    BaseVFile(const BaseVFile&) = default;
    BaseVFile& operator=(const BaseVFile&) = default;
    virtual ~BaseVFile();

    virtual void SetNumberOfImages(int n) = 0;
    virtual int NumberOfImages() const = 0;
    virtual void SetFrameRate(float r) = 0;
    virtual float FrameRate() const = 0;
    virtual void SetWidth(int w) = 0;
    virtual void SetHeight(int h) = 0;
    virtual int Width() const = 0;
    virtual int Height() const = 0;
    virtual int Width(CompType c) const = 0;
    virtual int Height(CompType c) const = 0;
    virtual void SetSamplingMatrices(ChromaFormat f, bool interlaced) = 0;
    virtual ChromaFormat CFormat() const = 0;
    virtual bool Interlaced() const = 0;
    // Status: 0 opened, 1 failed, 2 opened and newly created, 3 bad mode.
    virtual int Open(std::string name, OpenType mode) = 0;
    virtual bool Close() = 0;                          // true on failure
    // Status: 18 done, 17 image does not fit the file, 1 library failure.
    virtual int Read(BaseImage& img, int k) = 0;
    virtual int Write(BaseImage& img, int k) = 0;
    virtual bool OnlyYComponent() const;
    virtual void SetOnlyYComponent(bool only);
    virtual bool Sign(CompType c) const = 0;
    virtual void SetSign(CompType c, bool is_signed) = 0;

    // Creates sequence `name` from frames first..last of src (last clamped to src's end).
    // Nothing is closed; results of the transfers are not checked.
    void Copy(BaseVFile& src, std::string name, int first, int last);

protected:
    std::string name;
    bool only_y;
    int cached_width[3];
    int cached_height[3];
};

}  // namespace ormel

#endif
