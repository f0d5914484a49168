// IntegerScene: a test sequence rendered in integer arithmetic only, so that its bytes,
// and therefore every result computed from them, are the same on every machine and with
// every mathematics library. A texture of triangle waves pans by (1.5, 0.75) pixels a
// frame (bilinear in quarter pixels, truncated); a 24 x 20 block of another texture moves
// on its own path. At 160 x 128 and 12 frames gme rejects one estimate (frame 6) and
// predicts the start of every pair from frame 6 on.
#ifndef TESTS_SUPPORT_INTEGERSCENE_H
#define TESTS_SUPPORT_INTEGERSCENE_H

namespace test_scene {

inline int Tri(int u, int period) {
    const int m = ((u % period) + period) % period;
    return m < period / 2 ? m : period - m;
}

inline int Texture(int u, int v) {
    return 20 + 2 * Tri(u, 61) + 2 * Tri(v, 47) + Tri(u + v, 33) + Tri(u - 2 * v, 53);
}

// Luminance of frame n into luma (rows `width` apart).
inline void RenderFrame(int n, int width, int height, unsigned char* luma) {
    const int tx = 6 * n, ty = 3 * n;   // camera position in quarter pixels
    const int ox = 10 + 7 * n, oy = 20 + 2 * n * (n % 3);
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x) {
            const int u4 = 4 * x + tx, v4 = 4 * y + ty;
            const int u = u4 >> 2, v = v4 >> 2, fx = u4 & 3, fy = v4 & 3;
            const int s = (4 - fx) * (4 - fy) * Texture(u, v) + fx * (4 - fy) * Texture(u + 1, v) +
                          (4 - fx) * fy * Texture(u, v + 1) + fx * fy * Texture(u + 1, v + 1);
            int value = s / 16;
            if (x >= ox && x < ox + 24 && y >= oy && y < oy + 20)
                value = 200 + Tri(x * 5 + y * 3 + n, 31);
            luma[y * width + x] = static_cast<unsigned char>(value);
        }
}

}  // namespace test_scene

#endif
