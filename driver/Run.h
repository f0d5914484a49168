// Run: the gme command after its options are parsed. It checks the input and every
// output before it creates, renames or overwrites anything, then estimates and
// compensates every frame pair in order, writing the compensated frames, the per-pair
// lines, mae_Bin.txt and the optional motion file. Returns the exit status: 0 done,
// 1 failed (one "gme: ..." line on standard error), 128 + the signal when interrupted.
#ifndef DRIVER_RUN_H
#define DRIVER_RUN_H

#include "driver/Options.h"

namespace driver {

int Run(const Options& o);

}  // namespace driver

#endif
