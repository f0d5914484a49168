// Scene: the demo's synthetic video: a smooth textured plane filmed by a camera that pans,
// zooms and rotates slightly, with one independently moving textured disc.
// Everything is a pure function of the frame number, so the sequence is reproducible and
// its true global motion is known exactly.
// Convention of Affine, as everywhere in gme: a pixel (x, y) of the current frame maps to
// (a[0] + a[1]x + a[2]y, a[3] + a[4]x + a[5]y) in the previous frame.
#ifndef DEMO_SCENE_H
#define DEMO_SCENE_H

#include "image/YUVImage.h"

namespace demo {

struct Affine {
    double a[6];
};

Affine Compose(const Affine& outer, const Affine& inner);   // outer(inner(p))
Affine Invert(const Affine& m);
void Apply(const Affine& m, double x, double y, double* u, double* v);

class Scene {
public:
    Scene(int width, int height);

    // Frame pixel -> world position of the background at frame n.
    Affine Camera(int n) const;
    // The global motion from frame n to frame n - 1 (n >= 1).
    Affine TrueMotion(int n) const;
    // Renders frame n into img (luminance and chroma, any chroma format).
    void Render(int n, ormel::YUVImage& img) const;

    int Width() const { return width; }
    int Height() const { return height; }

private:
    double Background(double u, double v) const;
    // Luminance of the disc at frame pixel (x, y), or a negative value outside it.
    double Object(int n, double x, double y) const;

    int width;
    int height;
};

}  // namespace demo

#endif
