// BinGlobalMotionEstimator: construction and destruction.
#include "estimation/BinGlobalMotionEstimator.h"

#include "motion/AffineMotionModel.h"

BinGlobalMotionEstimator::BinGlobalMotionEstimator(int L, double E1, double E2, double P,
                                                   ormel::VidsFile& SrcVFile)
    : GlobalMotionEstimator(),
      previousParametersCount(5),
      verbose(false),
      level(L),
      er1(E1),
      er2(E2),
      percent(P),
      previousParameters(),
      srcVFile(&SrcVFile) {
    model = AffineMotionModel();   // an empty parameter vector until the first estimate
}

BinGlobalMotionEstimator::~BinGlobalMotionEstimator() {}
