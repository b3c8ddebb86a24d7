// What the similarity gate costs: one comparison of two screens, beside the detector and matcher
// alone on two gray matrices that are ready.

#include "ai/imagematrix.h"
#include "ai/imageutils.h"
#include "support/figure.h"
#include "support/screens.h"

#include <QGuiApplication>

#include <opencv2/features2d.hpp>
#include <opencv2/imgproc.hpp>

namespace
{
constexpr int rounds = 15;
constexpr double goalMilliseconds = 80.0;

cv::Mat grayOf(const QImage &image)
{
    cv::Mat gray;
    cv::cvtColor(convertQImageToMat(image), gray, cv::COLOR_BGR2GRAY);
    return gray;
}

void detectAndMatch(const cv::Mat &first, const cv::Mat &second)
{
    const cv::Ptr<cv::ORB> detector = cv::ORB::create();
    std::vector<cv::KeyPoint> firstPoints;
    std::vector<cv::KeyPoint> secondPoints;
    cv::Mat firstDescriptors;
    cv::Mat secondDescriptors;
    detector->detectAndCompute(first, cv::noArray(), firstPoints, firstDescriptors);
    detector->detectAndCompute(second, cv::noArray(), secondPoints, secondDescriptors);
    std::vector<cv::DMatch> matches;
    cv::BFMatcher(cv::NORM_HAMMING, true).match(firstDescriptors, secondDescriptors, matches);
}
} // namespace

int main(int argc, char **argv)
{
    const QGuiApplication application(argc, argv);
    for (const QSize &size : Bench::screenSizes()) {
        const QImage first = Bench::screen(size, 0);
        const QImage second = Bench::screen(size, 1);
        const double gate =
            Bench::medianMilliseconds(rounds, [&] { calculateSimilar(first, second); });
        const cv::Mat firstGray = grayOf(first);
        const cv::Mat secondGray = grayOf(second);
        const double floor =
            Bench::medianMilliseconds(rounds, [&] { detectAndMatch(firstGray, secondGray); });
        Bench::print({QStringLiteral("similarity gate %1").arg(Bench::sizeText(size)), gate,
                      QStringLiteral("ms"),
                      size == Bench::screenSizes().front() ? goalMilliseconds : 0.0, floor,
                      QStringLiteral("ORB and matcher on gray")});
    }
    return 0;
}
