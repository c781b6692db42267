// field.cpp - the image of a field.

#include "core/field.h"

#include <utility>

namespace core_image {
namespace {

class FieldStage : public Stage {
  public:
    explicit FieldStage(std::shared_ptr<const Field> field) : field_(std::move(field)) {}

    bool IsPointwise() const override { return true; }

    void Render(const Tile& tile) const override { field_->Render(tile); }

  private:
    std::shared_ptr<const Field> field_;
};

class FieldImage : public Image {
  public:
    explicit FieldImage(std::shared_ptr<const Field> field)
        : Image(Extent::Infinite(), /*depthBelow=*/{}), field_(std::move(field)) {}

    std::unique_ptr<const Stage> MakeStage(const Region&) const override {
        return std::make_unique<FieldStage>(field_);
    }

  private:
    std::shared_ptr<const Field> field_;
};

}  // namespace

ImageRef MakeFieldImage(std::shared_ptr<const Field> field) { return std::make_shared<FieldImage>(std::move(field)); }

}  // namespace core_image
