// VectorUnit: which vector instructions the pixel kernels may use on this processor.
// Every kernel has a plain path that runs everywhere and, on x86-64, paths for AVX2 and
// AVX-512; all paths of a kernel give the same bits, so the choice changes speed only.
// A kernel takes the unit explicitly: callers pass BestVectorUnit(), tests pass each of
// AvailableVectorUnits() in turn. Never pass a unit that is not available.
#ifndef NUMERIC_VECTORUNIT_H
#define NUMERIC_VECTORUNIT_H

#include <vector>

namespace numeric {

enum class VectorUnit {
    kPlain,    // scalar C++, any processor
    kAvx2,     // x86-64 with AVX2
    kAvx512,   // x86-64 with AVX-512 F, BW, DQ and VL
};

// The widest unit this processor runs, checked once; GME_VECTOR_UNIT=plain|avx2|avx512
// in the environment lowers it (a wider request than the processor allows is ignored).
VectorUnit BestVectorUnit();

// Every unit this processor runs, plain first.
std::vector<VectorUnit> AvailableVectorUnits();

const char* VectorUnitName(VectorUnit unit);

}  // namespace numeric

#endif
