// circle.cpp - a picture that runs outward from a circle, and one that is bent around it.

#include <algorithm>
#include <cmath>
#include <numbers>
#include <utility>

#include "distortion/filters.h"
#include "distortion/formulas.h"

namespace core_image {
namespace {

constexpr double kWhole = 2 * std::numbers::pi;

// The box of a ring sector: from one radius to a larger one, clockwise from a start over a length, in radians.
Extent BoxOfSector(const Point& center, double inner, double outer, double start, double length) {
    if (length >= kWhole) return {center.x - outer, center.y - outer, center.x + outer, center.y + outer};
    Extent box = {HUGE_VAL, HUGE_VAL, -HUGE_VAL, -HUGE_VAL};
    const auto add = [&](double radius, double cosine, double sine) {
        box = {std::min(box.left, center.x + radius * cosine), std::min(box.bottom, center.y + radius * sine),
               std::max(box.right, center.x + radius * cosine), std::max(box.top, center.y + radius * sine)};
    };
    for (const double angle : {start, start - length}) {
        add(inner, std::cos(angle), std::sin(angle));
        add(outer, std::cos(angle), std::sin(angle));
    }
    // The directions of the axes that lie in between.
    constexpr double kQuarter = kWhole / 4;
    for (double quarter = std::floor(start / kQuarter); quarter * kQuarter > start - length; --quarter)
        add(outer, std::round(std::cos(quarter * kQuarter)), std::round(std::sin(quarter * kQuarter)));
    return box;
}

}  // namespace

// CICircleSplashDistortion: outside the circle of inputRadius around inputCenter, the colors on the circle continue
// outward. The result is infinite.
ImageRef CircleSplashDistortion(const Inputs& inputs) {
    ImageRef input = inputs.GetImage("inputImage");
    if (input == nullptr || input->GetExtent().IsEmpty()) return input;
    const double radius = std::max(0.0, inputs.GetNumber("inputRadius"));
    return MakeFormulaWarp(std::move(input), Extent::Infinite(), SplashFormula{PointOf(inputs, "inputCenter"), radius});
}

// CICircularWrap: the image bent around the circle of inputRadius around inputCenter, clockwise from the direction of
// inputAngle. The extent is the box of what it covers. Returns null for an infinite image.
//
// The lower edge keeps its length; everything above becomes wider. An image longer than the circle loses its end.
// Measured at angle 0: where the image begins and which way it goes, the half pixels, the extent, and a slight bend of
// the angle, eight times around the circle. That inputAngle turns counterclockwise is chosen.
ImageRef CircularWrap(const Inputs& inputs) {
    ImageRef input = inputs.GetImage("inputImage");
    if (input == nullptr || input->GetExtent().IsEmpty()) return input;
    const Extent extent = input->GetExtent();
    Region pixels;
    if (!RegionOfExtent(extent, &pixels)) return nullptr;
    const Point center = PointOf(inputs, "inputCenter");
    const double radius = std::max(0.0, inputs.GetNumber("inputRadius"));
    const double start = std::remainder(inputs.GetNumber("inputAngle"), kWhole);
    const double outer = radius + static_cast<double>(pixels.height - 1);
    const double length = radius > 0 ? static_cast<double>(pixels.width - 1) / radius : kWhole;
    const Extent box = BoxOfSector(center, radius, outer, start, length);
    const Extent bent = {std::floor(box.left), std::floor(box.bottom), std::ceil(box.right), std::ceil(box.top)};
    const double least = radius > 0 ? -std::min(0.5 / radius, std::numbers::pi) : 0;
    return MakeFormulaWarp(std::move(input), bent, WrapFormula{extent, center, radius, start, least});
}

}  // namespace core_image
