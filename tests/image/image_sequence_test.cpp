// ImageSequence: geometry, ownership of held images, index checks and the erase rules.
#include "image/ImageSequence.h"

#include <gtest/gtest.h>

#include <iostream>
#include <string>

#include "image/YUVImage.h"

using namespace ormel;

namespace {

const std::string kIndex = "ImageSequence: boundary overflow or underflow, index = ";
const std::string kRange = "ImageSequence: boundary overflow or underflow, indexes = ";

// A 16 x 8 4:2:0 picture that counts live instances and carries a tag in its first
// sample, so tests see which images were deleted and which entries remain.
class Tagged : public YUVImage {
public:
    explicit Tagged(int tag) : YUVImage(YUV420, 16, 8) {
        Y(0, 0) = static_cast<unsigned char>(tag);
        ++alive;
    }
    ~Tagged() override { --alive; }
    static int alive;
};
int Tagged::alive = 0;

int Tag(const ImageSequence& s, int i) {
    const BaseImage* img = s[i];
    return img ? static_cast<int>(img->GetPixel(Y_COMP, 0, 0)) : -1;
}

class ImageSequenceOwnership : public testing::Test {
protected:
    ImageSequenceOwnership() : seq(YUV420, 16, 8, false, true, 25.0f, 0) { Tagged::alive = 0; }
    void Fill(int n) {
        for (int k = 0; k < n; ++k)
            ASSERT_EQ(seq.push_back(new Tagged(k)), 18);
    }
    void TearDown() override {
        seq.Clear();
        EXPECT_EQ(Tagged::alive, 0) << "images leaked";
    }
    ImageSequence seq;
};

}  // namespace

TEST(ImageSequenceGeometry, ConstructorsSizeThePlanes) {
    ImageSequence s(YUV420, 352, 288, true, true, 25.0f, 3);
    EXPECT_EQ(s.NumberOfImages(), 3);
    EXPECT_EQ(s[2], nullptr);
    EXPECT_EQ(s.Height(), 576);   // frame height of a sequence of fields
    EXPECT_EQ(s.Height(U_COMP), 144);
    EXPECT_EQ(ImageSequence(YUV411, 350, 10, false, true, 1.0f, 0).Width(U_COMP), 87);
    EXPECT_EQ(ImageSequence(YUV400, 8, 6, false, true, 1.0f, 0).Width(V_COMP), 0);
    EXPECT_EQ(ImageSequence(UNKNOWN_FORMAT, 8, 6, false, true, 1.0f, 0).Height(V_COMP), 6);
    YUVImage img(YUV422, 30, 12);
    ImageSequence from_image(img, false, false, 24.0f, 2);
    EXPECT_EQ(from_image.NumberOfImages(), 2);
    EXPECT_EQ(from_image.Width(U_COMP), 15);
    EXPECT_EQ(from_image.Height(U_COMP), 12);
    EXPECT_EQ(ImageSequence().CFormat(), UNKNOWN_FORMAT);
}

TEST_F(ImageSequenceOwnership, CopiesAreEmptyAndAssignmentKeepsTheImages) {
    ImageSequence src(YUV420, 16, 8, true, false, 50.0f, 0);
    for (int k = 0; k < 10; ++k)
        src.push_back(new Tagged(k));
    ImageSequence copy(src);
    EXPECT_EQ(copy.NumberOfImages(), 0);
    EXPECT_EQ(copy.Height(V_COMP), 4);
    EXPECT_TRUE(copy.Interlaced());
    EXPECT_FALSE(copy.TopFieldFirst());
    EXPECT_EQ(copy.FrameRate(), 50.0f);
    Fill(2);
    seq = src;
    EXPECT_EQ(seq.NumberOfImages(), 2);
    EXPECT_EQ(seq.FrameRate(), 50.0f);
}

TEST_F(ImageSequenceOwnership, InsertionOrderAndRefusals) {
    EXPECT_EQ(seq.push_back(new Tagged(1)), 18);
    EXPECT_EQ(seq.push_front(new Tagged(0)), 18);
    EXPECT_EQ(seq.push_back(new Tagged(3)), 18);
    EXPECT_EQ(seq.insert(2, new Tagged(2)), 18);
    for (int k = 0; k < 4; ++k)
        EXPECT_EQ(Tag(seq, k), k);
    // Refused images stay the caller's: these live on the stack.
    YUVImage wider(YUV420, 18, 8), other_chroma(YUV422, 16, 8);
    EXPECT_EQ(seq.push_back(&wider), 17);
    EXPECT_EQ(seq.push_front(&other_chroma), 17);
    EXPECT_EQ(seq.insert(1, &wider), 17);
    testing::internal::CaptureStdout();
    EXPECT_EQ(seq.insert(4, &wider), 20);   // appending through insert is impossible
    ImageSequence empty(YUV420, 16, 8, false, true, 25.0f, 0);
    EXPECT_EQ(empty.insert(0, &wider), 20);
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              kIndex + "4, should range from 0 to 3\n" + kIndex + "0, should range from 0 to -1\n");
    EXPECT_EQ(seq.NumberOfImages(), 4);
    // Only sizes are compared, not the format.
    ImageSequence full(YUV444, 16, 8, false, true, 25.0f, 0);
    EXPECT_EQ(full.push_back(new YUVImage(UNKNOWN_FORMAT, 16, 8)), 18);
}

TEST(ImageSequenceIndexDeathTest, OutOfRangeAccess) {
    const ImageSequence s(YUV420, 16, 8, false, true, 25.0f, 3);
    testing::internal::CaptureStdout();
    EXPECT_EQ(s[5], nullptr);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), kIndex + "5, should range from 0 to 2\n");
    ImageSequence m(YUV420, 16, 8, false, true, 25.0f, 3);
    EXPECT_EXIT(
        {
            std::cout.rdbuf(std::cerr.rdbuf());   // to match the message in the child
            m[-1];
        },
        testing::ExitedWithCode(1), "index = -1, should range from 0 to 2");
}

TEST_F(ImageSequenceOwnership, EraseAndPop) {
    Fill(6);
    EXPECT_EQ(seq.erase(1), 21);
    EXPECT_EQ(Tag(seq, 1), 2);
    testing::internal::CaptureStdout();
    EXPECT_EQ(seq.erase(5), 20);
    EXPECT_EQ(seq.erase(2, 1), 20);
    EXPECT_EQ(seq.erase(0, 5), 20);
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              kIndex + "5, should range from 0 to 4\n" +
              kRange + "2 to 1, should range from 0 to 4 and should increase in order\n" +
              kRange + "0 to 5, should range from 0 to 4 and should increase in order\n");
    seq.pop_front();
    seq.pop_back();
    ASSERT_EQ(seq.NumberOfImages(), 3);   // tags 2, 3, 4
    EXPECT_EQ(Tagged::alive, 3);
    EXPECT_EQ(Tag(seq, 0), 2);
    ImageSequence empty;
    empty.pop_back();   // refused without harm
    empty.pop_front();
}

TEST_F(ImageSequenceOwnership, RangeEraseKeepsTheLastEntryEmptied) {
    Fill(5);
    EXPECT_EQ(seq.erase(1, 3), 21);
    EXPECT_EQ(Tagged::alive, 2);
    ASSERT_EQ(seq.NumberOfImages(), 3);
    EXPECT_EQ(Tag(seq, 0), 0);
    EXPECT_EQ(seq[1], nullptr);
    EXPECT_EQ(Tag(seq, 2), 4);
    EXPECT_EQ(seq.erase(2, 2), 21);   // deletes, removes no entry
    EXPECT_EQ(seq.NumberOfImages(), 3);
    EXPECT_EQ(Tagged::alive, 1);
    EXPECT_EQ(seq.erase(1, 2), 21);   // emptied entries are not deleted again
    EXPECT_EQ(seq.NumberOfImages(), 2);
}
