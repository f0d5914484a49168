// ImageBlock: rectangular view on one plane of a BaseImage. It addresses pixels, it does
// not own them. Two nested rectangles in plane coordinates (inclusive bounds): the frame,
// where the block may move, and the window, what it covers now; the window's top-left
// corner is the block's origin.
// Block coordinates given to operator(), SetFrame and SetOrigin are relative to the
// current origin, not to the plane. Refused setters return 0 and keep the edges they had
// already moved: check the result before relying on the rectangles.
#ifndef ORMEL_IMAGEBLOCK_H
#define ORMEL_IMAGEBLOCK_H

#include "image/Types.h"

namespace ormel {

class BaseImage;

class ImageBlock {
public:
    // Frame and window are the whole plane c of img.
    ImageBlock(BaseImage& img, CompType c);
    ImageBlock(const ImageBlock& other);               // views the same image
    // Takes other's component and rectangles but keeps viewing this block's own image.
    ImageBlock& operator=(const ImageBlock& other);
    virtual ~ImageBlock();

    void CopyDimensions();    // plane size from the image, for the current component

    CompType ComponentType() const;
    int Width() const;        // window width
    int Height() const;       // window height
    int get_horizontal_min_extent() const;   // origin column in the plane
    int get_vertical_min_extent() const;     // origin row in the plane
    int hightolow_i(int i) const;            // block column to plane column
    int hightolow_j(int j) const;            // block row to plane row

    // Frame [i0, i1] x [j0, j1] relative to the origin; the window becomes the frame.
    // 1 done, 0 refused (edges set before the failing test stay).
    int SetFrame(int i0, int i1, int j0, int j1);
    // Moves the origin inside the window; the right and bottom edges stay, so the window
    // shrinks. 1 done, 0 refused (a horizontal move already made stays).
    int SetOrigin(int i, int j);
    // Window of w x h from the origin, clipped to the frame (it may end smaller).
    void SetWindow(int w, int h);
    void SetWindow(int s);
    void ClearWindow();       // right and bottom edges back to the frame's
    void ClearOrigin();       // origin back to the frame's top-left corner
    void ClearFrame();        // frame and window become the whole plane

    // Sample at block position (i, j), through the image's own bounds rule.
    unsigned char& operator()(int i, int j);
    unsigned int operator()(int i, int j) const;

    // Window operations. Status: 11 cleared (Y to 0, chroma to 128), 12 copied,
    // 23 copied to buf, 24 copied from buf, 8 null buffer, 17 the window does not lie
    // inside the plane it addresses (nothing is touched). Packed buffers hold the
    // window row after row, Width() samples a row.
    int Clear();
    // Copies src's window (read from src's image, plane of THIS block's component) into
    // this window; the size copied is this window's.
    int Copy(ImageBlock& src);
    int CopyTo(unsigned char* buf);
    int CopyFrom(unsigned char* buf);

protected:
    BaseImage* image;
    CompType comp;
    int plane_width;
    int plane_height;
    int frame_imax;
    int frame_imin;
    int frame_jmax;
    int frame_jmin;
    int win_imax;
    int win_imin;
    int win_jmax;
    int win_jmin;

private:
    // True when this block's window, laid out with row stride `stride` from plane
    // position (imin, jmin), lies inside plane `comp` of img; else a message and false.
    bool WindowFits(BaseImage* img, int stride, int imin, int jmin) const;
    bool WindowFits() const { return WindowFits(image, plane_width, win_imin, win_jmin); }
    // Start of window row r in plane c of this block's image.
    unsigned char* WindowRow(CompType c, int r) const;
};

}  // namespace ormel

#endif
