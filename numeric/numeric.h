// numeric: rounding, first-minimum search, an int comparison for qsort, index-offset
// vectors and matrices, and singular value decomposition with back-substitution.
//
// Vectors and matrices carry arbitrary index bounds: dvector(nl, nh) returns a pointer
// valid for v[nl] .. v[nh]; dmatrix(nrl, nrh, ncl, nch) one valid for m[nrl..nrh][ncl..nch]
// (rows allocated separately, not contiguous). Release with the matching free_ function
// and the SAME bounds: the pointer kept by callers is offset, not the allocated block.
// The SVD routines index from 1. Every failure is fatal and goes through nrerror.
#ifndef NUMERIC_NUMERIC_H
#define NUMERIC_NUMERIC_H

#include <string>

// *(int*)a - *(int*)b with 32-bit wrap: ascending order for qsort over ints.
int compare(const void* a, const void* b);

// Nearest integer, halves away from zero (2.5 -> 3, -2.5 -> -3). Inline: per-pixel
// loops call it.
inline int CoRound(double x) {
    if (x < 0)
        return static_cast<int>(x - 0.5);   // truncation toward zero after the shift
    return static_cast<int>(x + 0.5);
}

// 0-based index of the smallest of vec[0] .. vec[n-1]; the first one on ties; 0 when n <= 1.
int CoMin(int* vec, int n);

// The k-th smallest of arr[1] .. arr[n] (one-based) by in-place partitioning; reorders arr.
float sele(unsigned long k, unsigned long n, float* arr);

// Prints the three-line fatal report with msg on standard output and exits with status 1
// (throws numeric::FatalError(msg) instead where the thread asked for it: numeric/Fatal.h).
[[noreturn]] void nrerror(std::string msg);

// Zero-filled vectors valid for [nl, nh]; fatal when memory runs out.
double* dvector(int nl, int nh);
int* ivector(int nl, int nh);
float* fvector(int nl, int nh);

// Zero-filled matrices valid for [nrl, nrh] x [ncl, nch]; fatal when memory runs out.
double** dmatrix(int nrl, int nrh, int ncl, int nch);
int** imatrix(int nrl, int nrh, int ncl, int nch);
float** matrix(int nrl, int nrh, int ncl, int nch);

// Row pointers into a: rows newrl .. newrl + (oldrh - oldrl), so that the result's
// [newrl][newcl] is a[oldrl][oldcl]. Shares a's elements; only the pointer array is new.
float** submatrix(float** a, int oldrl, int oldrh, int oldcl, int oldch, int newrl, int newcl);

// Release functions; the bounds must be those of the allocation. Null is ignored.
void free_dvector(double* v, int nl, int nh);
void free_ivector(int* v, int nl, int nh);
void free_fvector(float* v, int nl, int nh);
void free_dmatrix(double** m, int nrl, int nrh, int ncl, int nch);
void free_imatrix(int** m, int nrl, int nrh, int ncl, int nch);
void free_matrix(float** m, int nrl, int nrh, int ncl, int nch);
void free_submatrix(float** b, int nrl, int nrh, int ncl, int nch);

// A = U W V^T of the m x n matrix a[1..m][1..n], m >= n (fatal otherwise).
// U replaces a, the singular values go to w[1..n] (non-negative, unsorted), V to v[1..n][1..n].
void svdcmp(double** a, int m, int n, double* w, double** v);

// x[1..n] solving A x = b[1..m] in the least-squares sense from svdcmp's u, w, v.
// Directions whose w[j] is exactly 0 contribute nothing: zero small w[j] beforehand.
void svbksb(double** u, double* w, double** v, int m, int n, double* b, double* x);

#endif
