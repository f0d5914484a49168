// Fatal: the per-thread choice between ending the process and throwing.
#include "numeric/Fatal.h"

namespace numeric {

namespace {

thread_local bool throwOnFatal = false;

}  // namespace

ThrowOnFatal::ThrowOnFatal() : saved(throwOnFatal) { throwOnFatal = true; }

ThrowOnFatal::~ThrowOnFatal() { throwOnFatal = saved; }

bool FatalThrows() { return throwOnFatal; }

void ThrowIfAsked(const std::string& what) {
    if (throwOnFatal)
        throw FatalError(what);
}

}  // namespace numeric
