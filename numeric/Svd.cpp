// Singular value decomposition (Golub-Reinsch) and back-substitution, one-based.
// Householder reduction to upper bidiagonal form, accumulation of the right-hand and then
// the left-hand transformations, then implicit-shift QR on the bidiagonal form.
#include <cmath>

#include "numeric/numeric.h"

namespace {

constexpr int kMaxIterations = 30;

// sqrt(a^2 + b^2) without overflow or destructive underflow.
double Pythag(double a, double b) {
    const double at = std::fabs(a);
    const double bt = std::fabs(b);
    if (at > bt) {
        const double ct = bt / at;
        return at * std::sqrt(1.0 + ct * ct);
    }
    if (bt != 0.0) {
        const double ct = at / bt;
        return bt * std::sqrt(1.0 + ct * ct);
    }
    return 0.0;
}

// |a| with the sign of b (b == 0 counts as positive).
double Sign(double a, double b) { return b >= 0.0 ? std::fabs(a) : -std::fabs(a); }

// A value is negligible when adding it to anorm changes nothing.
bool Negligible(double x, double anorm) { return std::fabs(x) + anorm == anorm; }

// Up to this many columns the work vectors live on the stack: the estimator's 6 x 6
// solves allocate nothing.
constexpr int kLocalColumns = 16;

}  // namespace

void svdcmp(double** a, int m, int n, double* w, double** v) {
    if (m < n)
        nrerror("SVDCMP: You must augment A with extra zero rows");
    double local[kLocalColumns + 1] = {};
    double* rv1 = n <= kLocalColumns ? local : dvector(1, n);   // superdiagonal of the bidiagonal form
    double g = 0.0;
    double scale = 0.0;
    double anorm = 0.0;
    int l = 0;

    // Householder reduction to bidiagonal form.
    for (int i = 1; i <= n; ++i) {
        l = i + 1;
        rv1[i] = scale * g;
        g = 0.0;
        double s = 0.0;
        scale = 0.0;
        if (i <= m) {
            // Left reflection: zero column i below the diagonal.
            for (int k = i; k <= m; ++k)
                scale += std::fabs(a[k][i]);
            if (scale != 0.0) {
                for (int k = i; k <= m; ++k) {
                    a[k][i] /= scale;
                    s += a[k][i] * a[k][i];
                }
                double f = a[i][i];
                g = -Sign(std::sqrt(s), f);
                const double h = f * g - s;
                a[i][i] = f - g;
                if (i != n) {
                    for (int j = l; j <= n; ++j) {
                        s = 0.0;
                        for (int k = i; k <= m; ++k)
                            s += a[k][i] * a[k][j];
                        f = s / h;
                        for (int k = i; k <= m; ++k)
                            a[k][j] += f * a[k][i];
                    }
                }
                for (int k = i; k <= m; ++k)
                    a[k][i] *= scale;
            }
        }
        w[i] = scale * g;
        g = 0.0;
        s = 0.0;
        scale = 0.0;
        if (i <= m && i != n) {
            // Right reflection: zero row i beyond the superdiagonal.
            for (int k = l; k <= n; ++k)
                scale += std::fabs(a[i][k]);
            if (scale != 0.0) {
                for (int k = l; k <= n; ++k) {
                    a[i][k] /= scale;
                    s += a[i][k] * a[i][k];
                }
                const double f = a[i][l];
                g = -Sign(std::sqrt(s), f);
                const double h = f * g - s;
                a[i][l] = f - g;
                for (int k = l; k <= n; ++k)
                    rv1[k] = a[i][k] / h;
                if (i != m) {
                    for (int j = l; j <= m; ++j) {
                        s = 0.0;
                        for (int k = l; k <= n; ++k)
                            s += a[j][k] * a[i][k];
                        for (int k = l; k <= n; ++k)
                            a[j][k] += s * rv1[k];
                    }
                }
                for (int k = l; k <= n; ++k)
                    a[i][k] *= scale;
            }
        }
        const double size = std::fabs(w[i]) + std::fabs(rv1[i]);
        if (size > anorm)
            anorm = size;
    }

    // Accumulation of the right-hand transformations into v.
    for (int i = n; i >= 1; --i) {
        if (i < n) {
            if (g != 0.0) {
                // Two divisions, not one by the product: avoids a possible underflow.
                for (int j = l; j <= n; ++j)
                    v[j][i] = (a[i][j] / a[i][l]) / g;
                for (int j = l; j <= n; ++j) {
                    double s = 0.0;
                    for (int k = l; k <= n; ++k)
                        s += a[i][k] * v[k][j];
                    for (int k = l; k <= n; ++k)
                        v[k][j] += s * v[k][i];
                }
            }
            for (int j = l; j <= n; ++j) {
                v[i][j] = 0.0;
                v[j][i] = 0.0;
            }
        }
        v[i][i] = 1.0;
        g = rv1[i];
        l = i;
    }

    // Accumulation of the left-hand transformations: a becomes U.
    for (int i = n; i >= 1; --i) {
        l = i + 1;
        g = w[i];
        if (i < n)
            for (int j = l; j <= n; ++j)
                a[i][j] = 0.0;
        if (g != 0.0) {
            g = 1.0 / g;
            if (i != n) {
                for (int j = l; j <= n; ++j) {
                    double s = 0.0;
                    for (int k = l; k <= m; ++k)
                        s += a[k][i] * a[k][j];
                    const double f = (s / a[i][i]) * g;
                    for (int k = i; k <= m; ++k)
                        a[k][j] += f * a[k][i];
                }
            }
            for (int j = i; j <= m; ++j)
                a[j][i] *= g;
        } else {
            for (int j = i; j <= m; ++j)
                a[j][i] = 0.0;
        }
        a[i][i] += 1.0;
    }

    // Diagonalisation of the bidiagonal form, one singular value at a time.
    for (int k = n; k >= 1; --k) {
        for (int its = 1; its <= kMaxIterations; ++its) {
            // Look for a split: a negligible rv1[l] (rv1[1] is always 0) or w[l - 1].
            bool cancel = true;
            int nm = 0;
            for (l = k; l >= 1; --l) {
                nm = l - 1;
                if (Negligible(rv1[l], anorm)) {
                    cancel = false;
                    break;
                }
                if (Negligible(w[nm], anorm))
                    break;
            }
            if (cancel) {
                // w[nm] is negligible: chase rv1[l] out with rotations from the left.
                double c = 0.0;
                double s = 1.0;
                // A negligible f skips its rotation; the chase goes on to k.
                for (int i = l; i <= k; ++i) {
                    const double f = s * rv1[i];
                    if (Negligible(f, anorm))
                        continue;
                    g = w[i];
                    double h = Pythag(f, g);
                    w[i] = h;
                    h = 1.0 / h;
                    c = g * h;
                    s = -f * h;
                    for (int j = 1; j <= m; ++j) {
                        const double y = a[j][nm];
                        const double z = a[j][i];
                        a[j][nm] = y * c + z * s;
                        a[j][i] = z * c - y * s;
                    }
                }
            }
            double z = w[k];
            if (l == k) {
                // Converged; make the singular value non-negative with its column of v.
                if (z < 0.0) {
                    w[k] = -z;
                    for (int j = 1; j <= n; ++j)
                        v[j][k] = -v[j][k];
                }
                break;
            }
            if (its == kMaxIterations)
                nrerror("No convergence in 30 SVDCMP iterations");

            // Shift from the bottom 2 x 2 minor.
            double x = w[l];
            nm = k - 1;
            double y = w[nm];
            g = rv1[nm];
            double h = rv1[k];
            double f = ((y - z) * (y + z) + (g - h) * (g + h)) / (2.0 * h * y);
            g = Pythag(f, 1.0);
            f = ((x - z) * (x + z) + h * ((y / (f + Sign(g, f))) - h)) / x;

            // Next QR transformation: a chain of Givens rotations from l to k.
            double c = 1.0;
            double s = 1.0;
            for (int j = l; j <= nm; ++j) {
                const int i = j + 1;
                g = rv1[i];
                y = w[i];
                h = s * g;
                g = c * g;
                z = Pythag(f, h);
                rv1[j] = z;
                c = f / z;
                s = h / z;
                f = x * c + g * s;
                g = g * c - x * s;
                h = y * s;
                y *= c;
                for (int jj = 1; jj <= n; ++jj) {
                    x = v[jj][j];
                    z = v[jj][i];
                    v[jj][j] = x * c + z * s;
                    v[jj][i] = z * c - x * s;
                }
                z = Pythag(f, h);
                w[j] = z;
                if (z != 0.0) {   // with z == 0 any rotation does
                    z = 1.0 / z;
                    c = f * z;
                    s = h * z;
                }
                f = c * g + s * y;
                x = c * y - s * g;
                for (int jj = 1; jj <= m; ++jj) {
                    y = a[jj][j];
                    z = a[jj][i];
                    a[jj][j] = y * c + z * s;
                    a[jj][i] = z * c - y * s;
                }
            }
            rv1[l] = 0.0;
            rv1[k] = f;
            w[k] = x;
        }
    }
    if (rv1 != local)
        free_dvector(rv1, 1, n);
}

void svbksb(double** u, double* w, double** v, int m, int n, double* b, double* x) {
    double local[kLocalColumns + 1] = {};
    double* tmp = n <= kLocalColumns ? local : dvector(1, n);
    for (int j = 1; j <= n; ++j) {
        double s = 0.0;
        if (w[j] != 0.0) {   // an exactly zero singular value is skipped
            for (int i = 1; i <= m; ++i)
                s += u[i][j] * b[i];
            s /= w[j];
        }
        tmp[j] = s;
    }
    for (int j = 1; j <= n; ++j) {
        double s = 0.0;
        for (int jj = 1; jj <= n; ++jj)
            s += v[j][jj] * tmp[jj];
        x[j] = s;
    }
    if (tmp != local)
        free_dvector(tmp, 1, n);
}
