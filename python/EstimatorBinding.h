// EstimatorBinding: gme.SequenceEstimator, gme.PairResult, gme.estimate and
// gme.compensate over gme::SequenceEstimator and gme::Compensate. The estimate runs
// without the interpreter lock, so estimators on two threads run side by side.
#ifndef PYTHON_ESTIMATORBINDING_H
#define PYTHON_ESTIMATORBINDING_H

#include <pybind11/pybind11.h>

namespace gme_python {

void BindEstimator(pybind11::module_& m);

}  // namespace gme_python

#endif
