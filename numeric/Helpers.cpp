// Rounding, first-minimum search, the qsort comparison and the k-th smallest selection.
#include <iostream>
#include <utility>

#include "numeric/numeric.h"

int compare(const void* a, const void* b) {
    // 32-bit wrap like the plain subtraction, without signed overflow.
    const unsigned int x = static_cast<unsigned int>(*static_cast<const int*>(a));
    const unsigned int y = static_cast<unsigned int>(*static_cast<const int*>(b));
    return static_cast<int>(x - y);
}

int CoMin(int* vec, int n) {
    int best = 0;
    for (int i = 1; i < n; ++i)
        if (vec[i] < vec[best])             // strictly smaller: ties keep the first
            best = i;
    return best;
}

float sele(unsigned long k, unsigned long n, float* arr) {
    if (k < 1 || k > n) {
        std::cout << "sele: k = " << k << " is outside 1.." << n << std::endl;
        return 0.0f;
    }
    unsigned long l = 1;
    unsigned long ir = n;
    for (;;) {
        if (ir <= l + 1) {
            // One or two elements left: order them and the k-th is in place.
            if (ir == l + 1 && arr[ir] < arr[l])
                std::swap(arr[l], arr[ir]);
            return arr[k];
        }
        // Median of arr[l], arr[l + 1], arr[ir] as the pivot, after moving the middle
        // element to l + 1; arr[l] <= arr[l + 1] <= arr[ir] then act as sentinels.
        const unsigned long mid = (l + ir) >> 1;
        std::swap(arr[mid], arr[l + 1]);
        if (arr[l] > arr[ir])
            std::swap(arr[l], arr[ir]);
        if (arr[l + 1] > arr[ir])
            std::swap(arr[l + 1], arr[ir]);
        if (arr[l] > arr[l + 1])
            std::swap(arr[l], arr[l + 1]);
        unsigned long i = l + 1;
        unsigned long j = ir;
        const float pivot = arr[l + 1];
        for (;;) {
            do ++i; while (arr[i] < pivot);
            do --j; while (arr[j] > pivot);
            if (j < i)
                break;
            std::swap(arr[i], arr[j]);
        }
        arr[l + 1] = arr[j];
        arr[j] = pivot;
        // Keep the partition that holds position k.
        if (j >= k)
            ir = j - 1;
        if (j <= k)
            l = i;
    }
}
