// Scene: camera path, texture and moving object of the demo sequence.
#include "tools/demo/Scene.h"

#include <cmath>

using ormel::U_COMP;
using ormel::V_COMP;
using ormel::Y_COMP;

namespace demo {

namespace {

const double kPi = 3.14159265358979323846;

// Plane waves of the background: amplitude, period in pixels, direction, phase.
struct Wave { double amp, period, angle, phase; };
const Wave kWaves[] = {
    {34, 71, 0.3, 0.0}, {26, 43, 1.9, 1.1}, {20, 29, 2.8, 2.3},
    {14, 23, 0.9, 0.7}, {10, 17, 4.1, 2.9}, {8, 13, 5.3, 1.7},
};

unsigned char ToByte(double v) {
    if (v < 0) return 0;
    if (v > 255) return 255;
    return static_cast<unsigned char>(v + 0.5);
}

}  // namespace

Affine Compose(const Affine& f, const Affine& g) {
    const double* p = f.a;
    const double* q = g.a;
    return Affine{{p[0] + p[1] * q[0] + p[2] * q[3], p[1] * q[1] + p[2] * q[4],
                   p[1] * q[2] + p[2] * q[5], p[3] + p[4] * q[0] + p[5] * q[3],
                   p[4] * q[1] + p[5] * q[4], p[4] * q[2] + p[5] * q[5]}};
}

Affine Invert(const Affine& m) {
    const double* p = m.a;
    const double det = p[1] * p[5] - p[2] * p[4];
    const double i1 = p[5] / det, i2 = -p[2] / det, i4 = -p[4] / det, i5 = p[1] / det;
    return Affine{{-(i1 * p[0] + i2 * p[3]), i1, i2, -(i4 * p[0] + i5 * p[3]), i4, i5}};
}

void Apply(const Affine& m, double x, double y, double* u, double* v) {
    *u = m.a[0] + m.a[1] * x + m.a[2] * y;
    *v = m.a[3] + m.a[4] * x + m.a[5] * y;
}

Scene::Scene(int w, int h) : width(w), height(h) {}

Affine Scene::Camera(int n) const {
    // Pan right and down with a gentle sway, zoom in by 0.4 % and turn 0.1 degree a frame,
    // all about the frame centre.
    const double tx = 1.6 * n + 2.0 * std::sin(n / 5.0);
    const double ty = 0.9 * n;
    const double s = 1.0 / (1.0 + 0.004 * n);
    const double th = 0.0018 * n;
    const double c = s * std::cos(th), d = s * std::sin(th);
    const double cx = width / 2.0, cy = height / 2.0;
    // world = R * s * (p - centre) + centre + t
    return Affine{{cx + tx - c * cx + d * cy, c, -d, cy + ty - d * cx - c * cy, d, c}};
}

Affine Scene::TrueMotion(int n) const {
    // current pixel -> world (camera n) -> previous pixel (inverse of camera n - 1)
    return Compose(Invert(Camera(n - 1)), Camera(n));
}

double Scene::Background(double u, double v) const {
    double value = 128;
    for (const Wave& w : kWaves) {
        const double k = 2 * kPi / w.period;
        value += w.amp * std::sin(k * (std::cos(w.angle) * u + std::sin(w.angle) * v) + w.phase);
    }
    return value;
}

double Scene::Object(int n, double x, double y) const {
    // A disc crossing the picture from left to right, against the camera's pan.
    const double ox = 40 + 9.0 * n, oy = height * 0.6 - 2.0 * n, r = 34;
    const double dx = x - ox, dy = y - oy;
    if (dx * dx + dy * dy > r * r)
        return -1;
    return 128 + 100 * std::sin(dx * 0.45) * std::cos(dy * 0.35);
}

void Scene::Render(int n, ormel::YUVImage& img) const {
    const Affine cam = Camera(n);
    const int W = img.Width(Y_COMP), H = img.Height(Y_COMP);
    unsigned char* Y = img.GetArray(Y_COMP);
    for (int y = 0; y < H; ++y) {
        for (int x = 0; x < W; ++x) {
            const double obj = Object(n, x, y);
            double u, v;
            Apply(cam, x, y, &u, &v);
            Y[y * W + x] = ToByte(obj >= 0 ? obj : Background(u, v));
        }
    }
    // Chroma: a slow colour gradient over the world, the disc in a fixed colour.
    for (int c = U_COMP; c <= V_COMP; ++c) {
        const ormel::CompType comp = static_cast<ormel::CompType>(c);
        const int cw = img.Width(comp), ch = img.Height(comp);
        if (cw <= 0 || ch <= 0 || img.CFormat() == ormel::YUV400)
            continue;
        const double sx = static_cast<double>(W) / cw, sy = static_cast<double>(H) / ch;
        unsigned char* p = img.GetArray(comp);
        for (int j = 0; j < ch; ++j) {
            for (int i = 0; i < cw; ++i) {
                const double x = i * sx, y = j * sy;
                double u, v;
                Apply(cam, x, y, &u, &v);
                const bool inDisc = Object(n, x, y) >= 0;
                const double val = c == U_COMP ? 128 + 40 * std::sin(u / 90.0)
                                               : 128 + 40 * std::cos(v / 70.0);
                p[j * cw + i] = ToByte(inDisc ? (c == U_COMP ? 80 : 200) : val);
            }
        }
    }
}

}  // namespace demo
