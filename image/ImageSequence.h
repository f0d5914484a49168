// ImageSequence: in-memory ordered list of images of one common geometry, with the frame
// rate and field attributes of a video sequence.
// The sequence owns what it holds: an image handed over by a successful push_back,
// push_front or insert is deleted when it leaves (erase, pop_front, pop_back, Clear, the
// destructor). A refused image stays the caller's. Entries may be null (the sized
// constructors make them); null entries are skipped when deleting.
// Copying a sequence copies its geometry and attributes only: the copy is empty.
#ifndef ORMEL_IMAGESEQUENCE_H
#define ORMEL_IMAGESEQUENCE_H

#include <deque>

#include "image/Types.h"

namespace ormel {

class BaseImage;
class BaseVFile;

class ImageSequence {
public:
    using iterator = std::deque<BaseImage*>::iterator;

    ImageSequence();   // empty, UNKNOWN_FORMAT, sizes 0, progressive, frame rate 0
    // Chroma sizes from f as for a YUVImage; n null entries.
    ImageSequence(ChromaFormat f, int w, int h, bool interlaced, bool top_field_first,
                  float frame_rate, int n);
    // img's format and six sizes; n null entries. img itself is not stored.
    ImageSequence(const BaseImage& img, bool interlaced, bool top_field_first,
                  float frame_rate, int n);
    explicit ImageSequence(const BaseVFile& f);   // the file's geometry and timing; empty
    ImageSequence(const ImageSequence& other);    // attributes only; empty
    ImageSequence& operator=(const ImageSequence& other);   // attributes only; images stay
    ~ImageSequence();

    int NumberOfImages() const;
    iterator Iterator();          // at the first entry
    int Width() const;            // luminance width
    int Height() const;           // frame height: twice the field height when interlaced
    int Width(CompType c) const;  // plane sizes, c not checked
    int Height(CompType c) const;
    ChromaFormat CFormat() const;
    bool Interlaced() const;
    bool TopFieldFirst() const;
    float FrameRate() const;
    void SetFrameRate(float r);
    // Format and field flag only; the plane sizes are not recomputed.
    void SetSamplingMatrices(ChromaFormat f, bool interlaced);

    // Status: 18 taken over, 17 the image lacks the sequence's six plane sizes (the
    // format is not compared), 20 index out of range.
    int push_back(BaseImage* img);
    int push_front(BaseImage* img);
    int insert(int i, BaseImage* img);   // before entry i, 0 <= i < NumberOfImages()

    // Entry i. Out of range: a message, then the non-const form ends the process with
    // status 1 and the const form returns null.
    BaseImage* operator[](int i);
    BaseImage* operator[](int i) const;

    // Status: 21 erased, 20 bad index or range.
    int erase(int i);
    // Deletes the images first..last but removes only the entries first..last-1: the
    // entry at `last` stays, emptied (null), so the count drops by last - first.
    int erase(int first, int last);
    void pop_front();             // no-op on an empty sequence
    void pop_back();              // no-op on an empty sequence
    void Clear();                 // deletes every image and removes every entry

private:
    bool Fits(const BaseImage* img) const;
    bool IndexValid(int i) const;   // prints the index message when not

    std::deque<BaseImage*> images;
    bool interlaced;
    bool top_field_first;
    float frame_rate;
    ChromaFormat cformat;
    int width[3];
    int height[3];
};

}  // namespace ormel

#endif
