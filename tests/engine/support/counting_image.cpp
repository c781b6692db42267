// counting_image.cpp - stages that pass everything on.

#include "support/counting_image.h"

#include <utility>

using namespace core_image;

namespace {

class PassingStage : public Stage {
  public:
    PassingStage(Prepared input, std::shared_ptr<Count> count) : input_(std::move(input)), count_(std::move(count)) {}

    void Render(const Tile& tile) const override {
        if (count_ != nullptr) count_->pixels += tile.region.width * tile.region.height;
        input_.Render(tile);
    }

  private:
    Prepared input_;
    std::shared_ptr<Count> count_;
};

class PassingImage : public Image {
  public:
    PassingImage(ImageRef input, std::shared_ptr<Count> count)
        : Image(input->GetExtent(), count == nullptr ? Depth{} : input->GetDepth()),
          input_(std::move(input)),
          count_(std::move(count)) {}

    void AddNeeds(const Region& region, Needs& needs) const override {
        if (count_ != nullptr) needs.AddByTiles(input_, region);
    }

    std::unique_ptr<const Stage> MakeStage(const Region& region) const override {
        if (count_ != nullptr) ++count_->stages;
        return std::make_unique<PassingStage>(Prepare(input_, region), count_);
    }

  private:
    ImageRef input_;
    std::shared_ptr<Count> count_;
};

}  // namespace

ImageRef Counted(ImageRef image, std::shared_ptr<Count> count) {
    return std::make_shared<PassingImage>(std::move(image), std::move(count));
}

ImageRef Unshared(ImageRef image) { return std::make_shared<PassingImage>(std::move(image), nullptr); }
