#include "opencv_distance.h"

#include <OpenGL/gl.h>
#include <OpenGL/glext.h>

#include <memory>
#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>

namespace texprobe::bench {

namespace {

constexpr int kSide = 128;

int depth_of(unsigned type) {
    switch (type) {
        case GL_UNSIGNED_SHORT:
            return CV_16U;
        case GL_FLOAT:
            return CV_32F;
        case GL_HALF_FLOAT_ARB:
            return CV_16F;
        default:
            return CV_8U;
    }
}

int channels_of(unsigned format) {
    switch (format) {
        case GL_LUMINANCE:
            return 1;
        case GL_LUMINANCE_ALPHA:
            return 2;
        case GL_RGB:
        case GL_BGR:
            return 3;
        default:
            return 4;
    }
}

cv::Mat image_of(const Layout& layout, void* data) {
    return {kSide, kSide, CV_MAKETYPE(depth_of(layout.type), channels_of(layout.format)), data};
}

/// An image on the 8-bit scale, converted if necessary.
class EightBitImage {
public:
    EightBitImage(const Layout& layout, void* data) : image_(image_of(layout, data)) {}

    const cv::Mat& get() {
        switch (image_.depth()) {
            case CV_16U:
                image_.convertTo(bytes_, CV_8U, 1.0 / 256);
                return bytes_;
            case CV_32F:
                image_.convertTo(bytes_, CV_8U, 255);
                return bytes_;
            case CV_16F:
                image_.convertTo(floats_, CV_32F);
                floats_.convertTo(bytes_, CV_8U, 255);
                return bytes_;
            default:
                return image_;
        }
    }

private:
    cv::Mat image_;
    cv::Mat floats_;
    cv::Mat bytes_;
};

/// Converts an 8-bit image of `format` to RGBA; alpha becomes 255 where there is none.
void convert_to_rgba(const cv::Mat& image, unsigned format, cv::Mat* rgba) {
    switch (format) {
        case GL_LUMINANCE:
            cv::cvtColor(image, *rgba, cv::COLOR_GRAY2RGBA);
            break;
        case GL_LUMINANCE_ALPHA: {
            rgba->create(kSide, kSide, CV_8UC4);
            const int fromTo[] = {0, 0, 0, 1, 0, 2, 1, 3};
            cv::mixChannels(&image, 1, rgba, 1, fromTo, 4);
            break;
        }
        case GL_RGB:
            cv::cvtColor(image, *rgba, cv::COLOR_RGB2RGBA);
            break;
        case GL_BGR:
            cv::cvtColor(image, *rgba, cv::COLOR_BGR2RGBA);
            break;
        default:
            cv::cvtColor(image, *rgba, cv::COLOR_BGRA2RGBA);
    }
}

class OpenCVDistance {
public:
    OpenCVDistance(const Layout& source, void* sourceData, const Layout& readBack, void* readData)
        : source_(source, sourceData),
          readBack_(readBack, readData),
          sourceFormat_(source.format),
          isSameLayout_(source.format == readBack.format) {}

    std::uint64_t operator()() {
        const cv::Mat* source = &source_.get();
        if (!isSameLayout_) {
            convert_to_rgba(*source, sourceFormat_, &rgba_);
            source = &rgba_;
        }
        return static_cast<std::uint64_t>(cv::norm(*source, readBack_.get(), cv::NORM_L2SQR));
    }

private:
    EightBitImage source_;
    EightBitImage readBack_;
    unsigned sourceFormat_;
    bool isSameLayout_;
    cv::Mat rgba_;
};

}  // namespace

std::function<std::uint64_t()> make_opencv_distance(const Layout& source, void* sourceData,
                                                    const Layout& readBack, void* readData) {
    cv::setNumThreads(1);
    const auto distance = std::make_shared<OpenCVDistance>(source, sourceData, readBack, readData);
    return [distance] { return (*distance)(); };
}

}  // namespace texprobe::bench
