// opencv.cpp - OpenCV. Its single-threaded functions are called for strips of rows on two threads.

#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <vector>

#include "../parameters.h"
#include "rivals.h"

namespace benchmarks {
namespace {

using Function = std::function<void(void*)>;

// Returns a picture as a matrix that uses the picture's memory.
cv::Mat MatrixOf(const Picture& picture) {
    return cv::Mat(static_cast<int>(picture.height), static_cast<int>(picture.width), CV_32FC4,
                   const_cast<float*>(picture.pixels.data()));
}

// Returns the memory of a result as a matrix of the picture's size.
cv::Mat ResultLike(const cv::Mat& picture, void* to, int type = CV_32FC4) {
    return cv::Mat(picture.rows, picture.cols, type, to);
}

// Calls a function for each strip of rows, on all threads.
void ForStrips(int rows, const std::function<void(const cv::Range&)>& function) {
    constexpr int kRows = 16;
    cv::parallel_for_(cv::Range(0, (rows + kRows - 1) / kRows), [&](const cv::Range& range) {
        for (int index = range.start; index < range.end; ++index) {
            function(cv::Range(index * kRows, std::min(rows, (index + 1) * kRows)));
        }
    });
}

// Applies a step to a picture strip by strip. The step writes every pixel of its second matrix.
using Step = std::function<void(const cv::Mat& from, cv::Mat to)>;
Function Stripwise(const Picture& picture, const Step& step) {
    return [from = MatrixOf(picture), step](void* to) {
        const cv::Mat result = ResultLike(from, to);
        ForStrips(from.rows, [&](const cv::Range& rows) { step(from.rowRange(rows), result.rowRange(rows)); });
    };
}

// Applies a step to both pictures strip by strip.
Function Combined(const std::function<void(const cv::Mat&, const cv::Mat&, cv::Mat)>& step) {
    return [first = MatrixOf(First()), second = MatrixOf(Second()), step](void* to) {
        const cv::Mat result = ResultLike(first, to);
        ForStrips(first.rows, [&](const cv::Range& rows) {
            step(first.rowRange(rows), second.rowRange(rows), result.rowRange(rows));
        });
    };
}

// Returns a color matrix as a 4 x 5 matrix for cv::transform.
template <typename Rows>
cv::Mat ColorMatrix(const Rows& rows) {
    cv::Mat matrix = cv::Mat::zeros(4, 5, CV_32F);
    for (int to = 0; to < 3; ++to) {
        for (int from = 0; from < 4; ++from) {
            matrix.at<float>(to, from == 3 ? 4 : from) =
                static_cast<float>(rows[static_cast<std::size_t>(to)][static_cast<std::size_t>(from)]);
        }
    }
    matrix.at<float>(3, 3) = 1;
    return matrix;
}

template <typename Rows>
Function Transformed(const Picture& picture, const Rows& rows) {
    return Stripwise(
        picture, [matrix = ColorMatrix(rows)](const cv::Mat& from, cv::Mat to) { cv::transform(from, to, matrix); });
}

Function FiveSteps(const Picture& picture) {
    return Stripwise(picture, [matrix = ColorMatrix(kMatrix)](const cv::Mat& from, cv::Mat to) {
        from.convertTo(to, CV_32F, std::exp2(kExposure));
        cv::transform(to, to, matrix);
        cv::pow(to, kGamma, to);
        cv::Mat levels;
        to.convertTo(levels, CV_16S, kPosterizeLevels - 1);
        levels.convertTo(to, CV_32F, 1 / (kPosterizeLevels - 1));
        cv::subtract(cv::Scalar::all(1), to, to);
    });
}

void Blur(const cv::Mat& from, cv::Mat to) {
    const int width = 2 * static_cast<int>(3 * kSigma) + 1;
    cv::GaussianBlur(from, to, {width, width}, kSigma, kSigma, cv::BORDER_CONSTANT);
}

// Applies a step that uses all threads by itself to the whole picture.
Function Whole(const Picture& picture, const Step& step) {
    return [from = MatrixOf(picture), step](void* to) { step(from, ResultLike(from, to)); };
}

// Applies a step to each half of the rows, one per thread. OpenCV reads beyond a half where the kernel reaches there.
void InHalves(const cv::Mat& from, const cv::Mat& to, const Step& step) {
    const int middle = from.rows / 2;
    cv::parallel_for_(cv::Range(0, 2), [&](const cv::Range& range) {
        for (int half = range.start; half < range.end; ++half) {
            const cv::Range rows(half * middle, half == 0 ? middle : from.rows);
            step(from.rowRange(rows), to.rowRange(rows));
        }
    });
}

Function ByHalves(const Picture& picture, const Step& step) {
    return Whole(picture, [step](const cv::Mat& from, const cv::Mat& to) { InHalves(from, to, step); });
}

Function Convolved(const std::vector<double>& weights, int width, int height) {
    const cv::Mat kernel = cv::Mat(weights).reshape(1, height).clone();
    CV_Assert(kernel.cols == width);
    return ByHalves(First(), [kernel](const cv::Mat& from, cv::Mat to) { cv::filter2D(from, to, CV_32F, kernel); });
}

void Turn(const cv::Mat& from, cv::Mat to) {
    const SourceMap map = TransformedSource();
    const cv::Matx23d matrix(map.a, map.b, map.c, map.d, map.e, map.f);
    cv::warpAffine(from, to, matrix, to.size(), cv::INTER_LINEAR | cv::WARP_INVERSE_MAP);
}

Function BlurAddTurn() {
    return [first = MatrixOf(First()), second = MatrixOf(Second()), sum = cv::Mat()](void* to) mutable {
        sum.create(first.size(), CV_32FC4);
        InHalves(first, sum, Blur);
        ForStrips(first.rows, [&](const cv::Range& rows) {
            cv::Mat strip = sum.rowRange(rows);
            cv::add(strip, second.rowRange(rows), strip);
        });
        Turn(sum, ResultLike(first, to));
    };
}

Function Average() {
    return [from = MatrixOf(First())](void* to) {
        constexpr int kParts = 2;
        cv::Scalar sums[kParts];
        cv::parallel_for_(cv::Range(0, kParts), [&](const cv::Range& range) {
            for (int part = range.start; part < range.end; ++part) {
                sums[part] = cv::sum(from.rowRange(part * from.rows / kParts, (part + 1) * from.rows / kParts));
            }
        });
        const cv::Scalar mean = (sums[0] + sums[1]) / static_cast<double>(from.total());
        for (int channel = 0; channel < 4; ++channel)
            static_cast<float*>(to)[channel] = static_cast<float>(mean[channel]);
    };
}

Function Histogram() {
    return [from = MatrixOf(First())](void* to) {
        cv::parallel_for_(cv::Range(0, 4), [&](const cv::Range& range) {
            for (int channel = range.start; channel < range.end; ++channel) {
                const float ends[] = {0, 1.0000001f};
                const float* ranges[] = {ends};
                const int bins[] = {kBins};
                cv::Mat counts;
                cv::calcHist(&from, 1, &channel, cv::noArray(), counts, 1, bins, ranges);
                const auto scale = 1 / static_cast<float>(from.total());
                for (int bin = 0; bin < kBins; ++bin) {
                    static_cast<float*>(to)[4 * bin + channel] = counts.at<float>(bin) * scale;
                }
            }
        });
    };
}

Function BytesIn() {
    cv::Mat table(1, 256, CV_32FC4);
    for (int code = 0; code < 256; ++code) {
        const double value = code / 255.0;
        const auto linear =
            static_cast<float>(value <= 0.04045 ? value / 12.92 : std::pow((value + 0.055) / 1.055, 2.4));
        table.at<cv::Vec4f>(code) = {linear, linear, linear, static_cast<float>(value)};
    }
    const cv::Mat from(static_cast<int>(kHeight), static_cast<int>(kWidth), CV_8UC4,
                       const_cast<std::uint8_t*>(FirstAsBytes().data()));
    return [from, table](void* to) { cv::LUT(from, table, ResultLike(from, to)); };
}

Function BytesOut() {
    return [from = MatrixOf(First())](void* to) {
        const cv::Mat result = ResultLike(from, to, CV_8UC4);
        ForStrips(from.rows, [&](const cv::Range& rows) {
            const cv::Mat strip = from.rowRange(rows);
            cv::Mat curved, straight, bytes = result.rowRange(rows), plain = strip.reshape(1);
            cv::pow(plain, 1 / 2.4, curved);
            curved.convertTo(bytes.reshape(1), CV_8U, 255 * 1.055, -255 * 0.055);
            plain.convertTo(straight, CV_8U, 255 * 12.92);
            straight.copyTo(bytes.reshape(1), plain <= 0.0031308f);
        });
    };
}

// Evaluates a source map at each pixel for cv::remap.
Function Remapped(const std::function<cv::Point2d(double x, double y)>& source) {
    cv::Mat sources(static_cast<int>(kHeight), static_cast<int>(kWidth), CV_32FC2);
    for (int row = 0; row < sources.rows; ++row) {
        for (int column = 0; column < sources.cols; ++column)
            sources.at<cv::Point2f>(row, column) = source(column, row);
    }
    return [sources, from = MatrixOf(First())](void* to) {
        cv::remap(from, ResultLike(from, to), sources, cv::noArray(), cv::INTER_LINEAR);
    };
}

cv::Point2d BumpSource(double column, double row) {
    const cv::Point2d center((kWidth - 1) / 2.0, (kHeight - 1) / 2.0);
    const cv::Point2d away = cv::Point2d(column, row) - center;
    const double share = std::min(1.0, std::hypot(away.x, away.y) / kBumpRadius);
    const double smooth = share * share * (3 - 2 * share);
    return center + away * (1 - kBumpScale * (1 - smooth));
}

}  // namespace

std::vector<Rival> OpenCVRivals() {
    cv::setNumThreads(2);
    const auto named = [](const char* operation, const std::function<Function()>& prepare) {
        return Rival{operation, "OpenCV", prepare};
    };
    return {
        named("12 MP/gaussian blur, sigma 10", [] { return ByHalves(First(), Blur); }),
        named("12 MP/box blur, 21 wide",
              [] {
                  return ByHalves(First(), [](const cv::Mat& from, cv::Mat to) {
                      cv::blur(from, to, {kBoxWidth, kBoxWidth});
                  });
              }),
        named("12 MP/disc blur, radius 8",
              [] { return Convolved(DiscKernel(), 2 * kDiscRadius + 1, 2 * kDiscRadius + 1); }),
        named("12 MP/color matrix", [] { return Transformed(First(), kMatrix); }),
        named("12 MP/invert",
              [] {
                  return Stripwise(
                      First(), [](const cv::Mat& from, cv::Mat to) { cv::subtract(cv::Scalar(1, 1, 1, 2), from, to); });
              }),
        named("12 MP/exposure",
              [] {
                  return Stripwise(First(), [](const cv::Mat& from, cv::Mat to) {
                      from.convertTo(to, CV_32F, std::exp2(kExposure));
                  });
              }),
        named("12 MP/gamma",
              [] { return Stripwise(First(), [](const cv::Mat& from, cv::Mat to) { cv::pow(from, kGamma, to); }); }),
        named("12 MP/color controls", [] { return Transformed(First(), ControlsMatrix()); }),
        named("12 MP/blur 10, add, affine, crop", BlurAddTurn),
        named("12 MP/dissolve",
              [] {
                  return Combined([](const cv::Mat& first, const cv::Mat& second, cv::Mat to) {
                      cv::addWeighted(first, 1 - kTransitionTime, second, kTransitionTime, 0, to);
                  });
              }),
        named("12 MP/addition",
              [] {
                  return Combined(
                      [](const cv::Mat& first, const cv::Mat& second, cv::Mat to) { cv::add(first, second, to); });
              }),
        named("12 MP/difference",
              [] {
                  return Combined(
                      [](const cv::Mat& first, const cv::Mat& second, cv::Mat to) { cv::absdiff(first, second, to); });
              }),
        named("12 MP/affine, bilinear", [] { return Whole(First(), Turn); }),
        named("12 MP/convolution 3x3", [] { return Convolved(Kernel(9), 3, 3); }),
        named("12 MP/convolution 5x5", [] { return Convolved(Kernel(25), 5, 5); }),
        named("12 MP/convolution 7x7", [] { return Convolved(Kernel(49), 7, 7); }),
        named("12 MP/convolution 9 across", [] { return Convolved(Kernel(9), 9, 1); }),
        named("12 MP/area average", Average),
        named("12 MP/histogram, 256 bins", Histogram),
        named("12 MP/five pointwise steps", [] { return FiveSteps(First()); }),
        named("12 MP/sRGB bytes in", BytesIn),
        named("12 MP/sRGB bytes out", BytesOut),
        named("12 MP/bump", [] { return Remapped(BumpSource); }),
        named("64 x 64/color matrix", [] { return Transformed(Small(), kMatrix); }),
        named("64 x 64/five pointwise steps", [] { return FiveSteps(Small()); }),
        named("64 x 64/gaussian blur, sigma 10", [] { return Whole(Small(), Blur); }),
    };
}

}  // namespace benchmarks
