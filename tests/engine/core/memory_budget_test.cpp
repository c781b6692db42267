// memory_budget_test.cpp - checks that a rendering stays within its memory budget, and says how much it needed if not.

#include "core/memory_budget.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <atomic>
#include <cstdint>
#include <memory>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "blur/blur.h"
#include "core/buffered.h"
#include "core/cropped.h"
#include "core/render_session.h"
#include "core/renderer.h"
#include "engine/engine.h"
#include "engine/failure.h"
#include "halftone/dots.h"
#include "sampling/lanczos.h"
#include "support/counting_image.h"
#include "support/engine_images.h"
#include "support/point_oracle.h"

namespace {

using namespace core_image;

constexpr std::uint64_t kMegabyte = 1 << 20;
constexpr Region kPhoto = {0, 0, 800, 600};
constexpr std::uint64_t kPhotoBytes = 800 * 600 * 16;

// A photo dissolved with its blur, again and again: each step is held in memory.
ImageRef Ladder(int steps, double sigma) {
    ImageRef image = RandomImage(800, 600);
    for (int index = 0; index < steps; ++index) {
        image = MakeCroppedImage(FilterValues()
                                     .Image("inputImage", MakeGaussianBlurImage(image, sigma))
                                     .Image("inputTargetImage", image)
                                     .Number("inputTime", 0.3)
                                     .Output("CIDissolveTransition"),
                                 Extent::Of(kPhoto));
    }
    return image;
}

struct Floats {
    std::vector<float> pixels = std::vector<float>(800 * 600 * 4);
    BitmapDestination destination;

    Floats() {
        destination.pixels = pixels.data();
        destination.bytesPerRow = 800 * 16;
        destination.format = PixelFormat::kFloats;
        destination.transfer = Transfer::kLinear;
    }
};

TEST(MemoryBudgetTest, ReturnsWhatWasTaken) {
    MemoryBudget budget(10 * kMegabyte);
    {
        const BudgetScope scope(budget);
        BudgetShare first(6 * kMegabyte);
        EXPECT_EQ(budget.Used(), 6 * kMegabyte);
        EXPECT_THROW(BudgetShare(5 * kMegabyte), MemoryShortage);
        EXPECT_EQ(budget.Used(), 6 * kMegabyte);
        const BudgetShare moved = std::move(first);
        EXPECT_EQ(budget.Used(), 6 * kMegabyte);
        first = BudgetShare(4 * kMegabyte);
        EXPECT_EQ(budget.Used(), 10 * kMegabyte);
        const BudgetShare small(1000);
        EXPECT_EQ(budget.Used(), 10 * kMegabyte) << "tiles and rows are not counted";
    }
    EXPECT_EQ(budget.Used(), 0u);
    const BudgetShare outside(20 * kMegabyte);
    EXPECT_EQ(budget.Used(), 0u);
}

TEST(MemoryBudgetTest, TablesForColumnsAndRowsAreCounted) {
    constexpr Region kWide = {0, 0, 1'000'000, 10};
    MemoryBudget budget(100 * kMegabyte);
    const BudgetScope scope(budget);
    {
        const Dots dots(kWide, {0, 0, 0, 6});
        EXPECT_EQ(budget.Used(), 1'000'010u * 16);
    }
    {
        const LanczosWeights weights({0, 0.5, 0, 500'000}, 0, 1'000'000, 4, 0);
        EXPECT_EQ(weights.Stride(), 8u);
        EXPECT_EQ(budget.Used(), 1'000'000u * (8 * 4 + 8 + sizeof(std::size_t)));
    }
    const ImageRef rings = FilterValues().Image("inputImage", RandomImage(9, 9)).Output("CICircularScreen");
    const auto stage = rings->MakeStage(kWide);
    EXPECT_EQ(budget.Used(), 1'000'010u * 8);
}

TEST(MemoryBudgetTest, OneThreadsShortageRefusesNothingToOthers) {
    MemoryBudget budget(10 * kMegabyte);
    std::atomic<bool> isOver = false;
    std::thread greedy([&] {
        for (int round = 0; round < 200000; ++round) EXPECT_THROW(budget.Take(1000 * kMegabyte), MemoryShortage);
        isOver = true;
    });
    int refused = 0;
    while (!isOver) {
        try {
            budget.Take(kMegabyte);
            budget.Return(kMegabyte);
        } catch (const MemoryShortage&) {
            ++refused;
        }
    }
    greedy.join();
    EXPECT_EQ(refused, 0);
    EXPECT_EQ(budget.Used(), 0u);
}

TEST(MemoryBudgetTest, ShortageSaysHowMuchWasNeeded) {
    MemoryBudget budget(10 * kMegabyte);
    budget.Take(7 * kMegabyte);
    try {
        budget.Take(4 * kMegabyte);
        FAIL();
    } catch (const MemoryShortage& shortage) {
        EXPECT_EQ(shortage.Needed(), 11 * kMegabyte);
        EXPECT_EQ(shortage.Limit(), 10 * kMegabyte);
    }
    EXPECT_EQ(budget.Used(), 7 * kMegabyte);
}

TEST(MemoryBudgetTest, DefaultIsAtMostAQuarterOfTheMachine) {
    const auto machine =
        static_cast<std::uint64_t>(sysconf(_SC_PHYS_PAGES)) * static_cast<std::uint64_t>(sysconf(_SC_PAGESIZE));
    EXPECT_GT(MemoryBudget::DefaultLimit(), 0u);
    EXPECT_LE(MemoryBudget::DefaultLimit(), machine / 4);
    if (sizeof(void*) == 4) EXPECT_LE(MemoryBudget::DefaultLimit(), 1024 * kMegabyte);
    EXPECT_EQ(MemoryBudget::Default().Limit(), MemoryBudget::DefaultLimit());
}

TEST(MemoryBudgetTest, SmallBudgetGivesTheSameBytes) {
    const ImageRef image = Ladder(4, 1.5);
    Floats usual, limited;
    MemoryBudget ample(100 * kMegabyte), small(kPhotoBytes);
    Render(image, kPhoto, usual.destination, {}, ample);
    Render(image, kPhoto, limited.destination, {}, small);
    EXPECT_EQ(usual.pixels, limited.pixels);
    EXPECT_EQ(ample.Used(), 0u);
    EXPECT_EQ(small.Used(), 0u);
}

// Blocks do not help a long chain: the padding of each covers the whole picture.
TEST(MemoryBudgetTest, RenderingThatDoesNotFitThrows) {
    MemoryBudget budget(kPhotoBytes);
    Floats result;
    EXPECT_THROW(Render(Ladder(300, 1.5), kPhoto, result.destination, {}, budget), MemoryShortage);
    EXPECT_EQ(budget.Used(), 0u);
}

// Renders with a budget in which everything that is held must fit: a shortage would divide the picture. Without a
// budget, nothing may be held.
void ExpectEnough(const ImageRef& image, std::uint64_t bytes = 0) {
    MemoryBudget budget(bytes);
    Floats result;
    const auto count = std::make_shared<Count>();
    EXPECT_NO_THROW(Render(Counted(image, count), kPhoto, result.destination, {}, budget));
    EXPECT_EQ(count->stages, 1);
}

// Each stage needs a block, and keeps another one for the stages that follow.
class KeepingImage : public Image {
  public:
    explicit KeepingImage(ImageRef input) : Image(input->GetExtent(), input->GetDepth()), input_(std::move(input)) {}

    std::unique_ptr<const Stage> MakeStage(const Region& region) const override {
        constexpr Region kMegabytes = {0, 0, 1000, 375};  // six
        { const PixelBlock needed(kMegabytes); }
        RenderSession::Current()->KeptForNow(this, region) = std::make_shared<PixelBlock>(kMegabytes);
        return MakeHeldStage(RenderBlock(input_, region));
    }

  private:
    ImageRef input_;
};

TEST(MemoryBudgetTest, WhatIsKeptForNowIsFreedBeforeARenderingFails) {
    const auto image = std::make_shared<KeepingImage>(RandomImage(800, 600));
    MemoryBudget enough(7 * kMegabyte), tooLittle(5 * kMegabyte);
    RenderSession session;
    Floats result;
    for (const std::int64_t y : {200, 100, 0}) {
        EXPECT_NO_THROW(Render(image, {0, y, 200, 100}, result.destination, {}, enough, &session)) << y;
    }
    EXPECT_GT(enough.Used(), 5 * kMegabyte) << "what the last stage keeps";
    session.FreeMemory();
    EXPECT_EQ(enough.Used(), 0u);
    EXPECT_THROW(Render(image, {0, 0, 200, 100}, result.destination, {}, tooLittle, &session), MemoryShortage);
}

TEST(MemoryBudgetTest, PictureBelowGlassIsNotCopied) {
    ExpectEnough(FilterValues()
                     .Image("inputImage", RandomImage(800, 600))
                     .Vector("inputPoint0", {100, 300})
                     .Vector("inputPoint1", {700, 300})
                     .Number("inputRadius", 250)
                     .Output("CIGlassLozenge"));
}

// In the middle, a tile shows the far ends of the texture.
TEST(MemoryBudgetTest, RepeatedTextureIsNotCopied) {
    const ImageRef texture =
        FilterValues().Image("inputImage", RandomImage(700, 500)).Number("inputLevels", 6).Output("CIColorPosterize");
    ExpectEnough(FilterValues()
                     .Image("inputImage", RandomImage(800, 600))
                     .Image("inputTexture", texture)
                     .Vector("inputCenter", {400, 300})
                     .Number("inputScale", 20)
                     .Output("CIGlassDistortion"));
}

// A tile reads what it needs of a picture that is made anew for it at little cost.
TEST(MemoryBudgetTest, LargePictureInItselfIsNotHeld) {
    const ImageRef picture =
        FilterValues().Image("inputImage", RandomImage(2100, 2000)).Number("inputLevels", 6).Output("CIColorPosterize");
    const ImageRef droste = FilterValues()
                                .Image("inputImage", picture)
                                .Vector("inputInsetPoint0", {250, 200})
                                .Vector("inputInsetPoint1", {550, 400})
                                .Number("inputPeriodicity", 1)
                                .Number("inputStrands", 1)
                                .Number("inputZoom", 1)
                                .Output("CIDroste");
    MemoryBudget budget(10 * kMegabyte);
    Floats result;
    EXPECT_NO_THROW(Render(droste, kPhoto, result.destination, {}, budget));
}

// Its three blurs are reduced images, which together are smaller than the picture.
TEST(MemoryBudgetTest, PictureOfAMiniatureIsNotCopied) {
    ExpectEnough(FilterValues()
                     .Image("inputImage", RandomImage(800, 600))
                     .Vector("inputPoint0", {0, 300})
                     .Vector("inputPoint1", {800, 300})
                     .Number("inputRadius", 24)
                     .Number("inputSaturation", 1.5)
                     .Number("inputUnsharpMaskRadius", 20)
                     .Number("inputUnsharpMaskIntensity", 0.5)
                     .Output("CIDepthOfField"),
                 kPhotoBytes);
}

TEST(MemoryBudgetTest, EngineSaysHowMuchMemoryWasNeeded) {
    const ImageRef image = Ladder(300, 1.5);
    MemoryBudget budget(10 * kMegabyte);
    Floats result;
    EXPECT_FALSE(RenderImage(&image, kPhoto, result.destination, {.budget = &budget}));
    const std::string failure = LatestFailure();
    EXPECT_TRUE(failure.starts_with("800 x 600 pixels: rendering needs more memory than there is, at least "))
        << failure;
    EXPECT_TRUE(failure.ends_with("MB; the limit is 10 MB")) << failure;
}

TEST(MemoryBudgetTest, EngineForgetsTheFailureOnSuccess) {
    const ImageRef image = Ladder(2, 1.5);
    Floats result;
    NoteFailure("an earlier one");
    EXPECT_TRUE(RenderImage(&image, kPhoto, result.destination, {}));
    EXPECT_STREQ(LatestFailure(), "");
}

}  // namespace
