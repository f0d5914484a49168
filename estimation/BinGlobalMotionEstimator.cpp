// BinGlobalMotionEstimator: construction and destruction.
#include "estimation/BinGlobalMotionEstimator.h"

#include "image/VidsFile.h"
#include "motion/AffineMotionModel.h"
#include "segmentation/TolvarMotionDetection.h"
#include "segmentation/TolvarThrshold.h"

BinGlobalMotionEstimator::BinGlobalMotionEstimator(int L, double E1, double E2, double P,
                                                   ormel::VidsFile& SrcVFile)
    : BinGlobalMotionEstimator(L, E1, E2, P, ormel::YUV420) {
    srcVFile = &SrcVFile;
}

BinGlobalMotionEstimator::BinGlobalMotionEstimator(int L, double E1, double E2, double P,
                                                   ormel::ChromaFormat format)
    : GlobalMotionEstimator(),
      previousParametersCount(5),
      verbose(false),
      level(L),
      er1(E1),
      er2(E2),
      percent(P),
      previousParameters(),
      srcVFile(nullptr),
      chromaFormat(format),
      accepted(false),
      log(stdout),
      blackLevel(black_level),
      motionWeight(LW_weight) {
    model = AffineMotionModel();   // an empty parameter vector until the first estimate
}

ormel::ChromaFormat BinGlobalMotionEstimator::ScratchFormat() const {
    return srcVFile ? srcVFile->CFormat() : chromaFormat;
}

BinGlobalMotionEstimator::~BinGlobalMotionEstimator() {}
