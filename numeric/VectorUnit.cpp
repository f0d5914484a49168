// VectorUnit: the run-time check of the processor's vector instructions.
#include "numeric/VectorUnit.h"

#include <cstdlib>
#include <cstring>

namespace numeric {

namespace {

bool Runs(VectorUnit unit) {
#if defined(__x86_64__) && defined(__GNUC__)
    switch (unit) {
    case VectorUnit::kPlain:
        return true;
    case VectorUnit::kAvx2:
        return __builtin_cpu_supports("avx2");
    case VectorUnit::kAvx512:
        return __builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512bw") &&
               __builtin_cpu_supports("avx512dq") && __builtin_cpu_supports("avx512vl");
    }
    return false;
#else
    return unit == VectorUnit::kPlain;
#endif
}

VectorUnit Detect() {
    VectorUnit best = VectorUnit::kPlain;
    for (VectorUnit u : {VectorUnit::kAvx2, VectorUnit::kAvx512})
        if (Runs(u))
            best = u;
    // A narrower unit on request, e.g. to compare the speed of the paths.
    if (const char* want = std::getenv("GME_VECTOR_UNIT")) {
        for (VectorUnit u : {VectorUnit::kPlain, VectorUnit::kAvx2, VectorUnit::kAvx512})
            if (std::strcmp(want, VectorUnitName(u)) == 0 && static_cast<int>(u) <= static_cast<int>(best))
                return u;
    }
    return best;
}

}  // namespace

VectorUnit BestVectorUnit() {
    static const VectorUnit best = Detect();
    return best;
}

std::vector<VectorUnit> AvailableVectorUnits() {
    std::vector<VectorUnit> units;
    for (VectorUnit u : {VectorUnit::kPlain, VectorUnit::kAvx2, VectorUnit::kAvx512})
        if (Runs(u))
            units.push_back(u);
    return units;
}

const char* VectorUnitName(VectorUnit unit) {
    switch (unit) {
    case VectorUnit::kPlain:
        return "plain";
    case VectorUnit::kAvx2:
        return "avx2";
    case VectorUnit::kAvx512:
        return "avx512";
    }
    return "?";
}

}  // namespace numeric
