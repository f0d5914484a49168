// The fatal error routine and the index-offset vector and matrix allocators.
// A caller's pointer p addresses the block b as p[lo] == b[0]. The offset is taken in
// integer arithmetic: p itself may point outside the block.
#include <cstdint>
#include <cstdlib>
#include <iostream>

#include "numeric/Fatal.h"
#include "numeric/numeric.h"

namespace {

template <typename T>
T* Shift(T* p, long by) {
    const uintptr_t bytes = static_cast<uintptr_t>(by) * sizeof(T);   // modular for by < 0
    return reinterpret_cast<T*>(reinterpret_cast<uintptr_t>(p) + bytes);
}

// Elements for the bounds [lo, hi]; at least one, so the block is always a real one.
size_t Count(int lo, int hi) {
    const long n = static_cast<long>(hi) - lo + 1;
    return n > 0 ? static_cast<size_t>(n) : 1;
}

template <typename T>
T* NewVector(int nl, int nh, const char* msg) {
    T* v = static_cast<T*>(std::calloc(Count(nl, nh), sizeof(T)));
    if (!v)
        nrerror(msg);
    return Shift(v, -static_cast<long>(nl));
}

template <typename T>
void DeleteVector(T* v, int nl) {
    if (v)
        std::free(Shift(v, nl));
}

template <typename T>
T** NewMatrix(int nrl, int nrh, int ncl, int nch, const char* msg1, const char* msg2) {
    T** m = static_cast<T**>(std::calloc(Count(nrl, nrh), sizeof(T*)));
    if (!m)
        nrerror(msg1);
    m = Shift(m, -static_cast<long>(nrl));
    for (int i = nrl; i <= nrh; ++i) {
        T* row = static_cast<T*>(std::calloc(Count(ncl, nch), sizeof(T)));
        if (!row)
            nrerror(msg2);
        m[i] = Shift(row, -static_cast<long>(ncl));
    }
    return m;
}

template <typename T>
void DeleteMatrix(T** m, int nrl, int nrh, int ncl) {
    if (!m)
        return;
    for (int i = nrh; i >= nrl; --i)   // last row first, then the pointer array
        DeleteVector(m[i], ncl);
    DeleteVector(m, nrl);
}

}  // namespace

void nrerror(std::string msg) {
    numeric::ThrowIfAsked(msg);
    std::cout << "Numerical Recipes run-time error...\n" << std::endl;
    std::cout << msg << std::endl;
    std::cout << "...now exiting to system...\n" << std::endl;
    std::exit(1);
}

double* dvector(int nl, int nh) { return NewVector<double>(nl, nh, "allocation failure in dvector()"); }
int* ivector(int nl, int nh) { return NewVector<int>(nl, nh, "allocation failure in ivector()"); }
float* fvector(int nl, int nh) { return NewVector<float>(nl, nh, "allocation failure in vector()"); }

double** dmatrix(int nrl, int nrh, int ncl, int nch) {
    return NewMatrix<double>(nrl, nrh, ncl, nch, "allocation failure 1 in dmatrix()",
                             "allocation failure 2 in dmatrix()");
}

int** imatrix(int nrl, int nrh, int ncl, int nch) {
    return NewMatrix<int>(nrl, nrh, ncl, nch, "allocation failure 1 in imatrix()",
                          "allocation failure 2 in imatrix()");
}

float** matrix(int nrl, int nrh, int ncl, int nch) {
    return NewMatrix<float>(nrl, nrh, ncl, nch, "allocation failure 1 in matrix()",
                            "allocation failure 2 in matrix()");
}

float** submatrix(float** a, int oldrl, int oldrh, int oldcl, int /*oldch*/, int newrl,
                  int newcl) {
    float** m = static_cast<float**>(std::calloc(Count(oldrl, oldrh), sizeof(float*)));
    if (!m)
        nrerror("allocation failure in submatrix()");
    m = Shift(m, -static_cast<long>(newrl));
    for (int i = oldrl, j = newrl; i <= oldrh; ++i, ++j)
        m[j] = Shift(a[i], static_cast<long>(oldcl) - newcl);
    return m;
}

void free_dvector(double* v, int nl, int) { DeleteVector(v, nl); }
void free_ivector(int* v, int nl, int) { DeleteVector(v, nl); }
void free_fvector(float* v, int nl, int) { DeleteVector(v, nl); }

void free_dmatrix(double** m, int nrl, int nrh, int ncl, int) { DeleteMatrix(m, nrl, nrh, ncl); }
void free_imatrix(int** m, int nrl, int nrh, int ncl, int) { DeleteMatrix(m, nrl, nrh, ncl); }
void free_matrix(float** m, int nrl, int nrh, int ncl, int) { DeleteMatrix(m, nrl, nrh, ncl); }

// Only the pointer array belongs to a submatrix; the rows are the parent's.
void free_submatrix(float** b, int nrl, int, int, int) { DeleteVector(b, nrl); }
