// Reading gme's standard output back into the models it compensated with.
#include <gtest/gtest.h>

#include <sstream>

#include "tools/demo/Report.h"

TEST(DemoReport, RejectedEstimateKeepsThePreviousModel) {
    std::istringstream out(
        "processing frame: 1......\n"
        "| Final parameter (a[0] a[1] a[2] a[3] a[4] a[5] ): 1.0 1 0 2.0 0 1 \n"
        "MAE: 3\n"
        "processing frame: 2......\n"
        "| Final parameter (a[0] a[1] a[2] a[3] a[4] a[5] ): 9.0 1 0 9.0 0 1 \n"
        "Estimation failed for this frame!\n"
        "Compensator time 0.001\nEstimator time 0.01\nMAE: 4.5\n"
        "processing frame: 3......\n"
        "Initial Conditions: a[0] = 1.000000, a[3] = 0.000000 \n"
        "| Final parameter (a[0] a[1] a[2] a[3] a[4] a[5] ): 1.5 1 0 2.5 0 1 \n"
        "Compensator time 0.001\nEstimator time 0.01\nMAE: 2\ndone\n");
    const auto pairs = demo::ParseGmeOutput(out);
    ASSERT_EQ(pairs.size(), 3u);
    EXPECT_EQ(pairs[1].frame, 2);
    EXPECT_TRUE(pairs[1].rejected);
    EXPECT_EQ(pairs[1].model.a[0], 1.0);
    EXPECT_EQ(pairs[1].model.a[3], 2.0);
    EXPECT_EQ(pairs[1].mae, 4.5);
    EXPECT_FALSE(pairs[2].rejected);
    EXPECT_EQ(pairs[2].model.a[3], 2.5);
}

TEST(DemoReport, CornerDisplacementAndTheSceneMotion) {
    const demo::Affine id{{0, 1, 0, 0, 0, 1}};
    const demo::Affine shifted{{3, 1, 0, 4, 0, 1}};
    EXPECT_DOUBLE_EQ(demo::CornerDisplacement(id, shifted, 10, 10), 5.0);
    // The true motion takes a pixel of frame n to where the camera saw the same point in
    // frame n - 1.
    demo::Scene scene(352, 288);
    const demo::Affine m = scene.TrueMotion(4);
    double u, v, wx, wy, px, py;
    demo::Apply(m, 100, 50, &u, &v);
    demo::Apply(scene.Camera(4), 100, 50, &wx, &wy);
    demo::Apply(scene.Camera(3), u, v, &px, &py);
    EXPECT_NEAR(px, wx, 1e-9);
    EXPECT_NEAR(py, wy, 1e-9);
}
