#include "ai/imageutils.h"

#include "ai/imagematrix.h"

#include <QBuffer>
#include <QDebug>
#include <QRegularExpression>

#include <algorithm>
#include <opencv2/features2d.hpp>
#include <opencv2/imgproc.hpp>
#include <utility>

namespace
{
// What cannot be compared counts as identical, and so is not kept.
constexpr double identical = 1.0;

cv::Ptr<cv::ORB> createDetector()
{
    constexpr int featureCount = 500;
    constexpr float scaleFactor = 1.2F;
    constexpr int levels = 8;
    constexpr int edgeThreshold = 31;
    constexpr int firstLevel = 0;
    constexpr int pointsPerElement = 2;
    constexpr int patchSize = 31;
    constexpr int fastThreshold = 20;
    return cv::ORB::create(featureCount, scaleFactor, levels, edgeThreshold, firstLevel,
                           pointsPerElement, cv::ORB::HARRIS_SCORE, patchSize, fastThreshold);
}

std::pair<cv::Mat, cv::Mat> grayMatrices(const QImage &first, const QImage &second)
{
    // Both are converted before either is made gray: that is where an unsupported format throws.
    const cv::Mat firstColour = convertQImageToMat(first);
    const cv::Mat secondColour = convertQImageToMat(second);
    std::pair<cv::Mat, cv::Mat> gray;
    cv::cvtColor(firstColour, gray.first, cv::COLOR_BGR2GRAY);
    cv::cvtColor(secondColour, gray.second, cv::COLOR_BGR2GRAY);
    return gray;
}

double shareOfMatches(const QImage &first, const QImage &second)
{
    const auto [firstGray, secondGray] = grayMatrices(first, second);
    const cv::Ptr<cv::ORB> detector = createDetector();
    std::vector<cv::KeyPoint> firstPoints;
    std::vector<cv::KeyPoint> secondPoints;
    cv::Mat firstDescriptors;
    cv::Mat secondDescriptors;
    detector->detectAndCompute(firstGray, cv::noArray(), firstPoints, firstDescriptors);
    detector->detectAndCompute(secondGray, cv::noArray(), secondPoints, secondDescriptors);

    // With cross-check every match is mutual; all of them count, however far apart.
    const cv::BFMatcher matcher(cv::NORM_HAMMING, true);
    std::vector<cv::DMatch> matches;
    matcher.match(firstDescriptors, secondDescriptors, matches);
    return static_cast<double>(matches.size()) /
           static_cast<double>(std::max(firstPoints.size(), secondPoints.size()));
}
} // namespace

double calculateSimilar(const QImage &first, const QImage &second)
{
    try {
        cv::setNumThreads(1);
        return shareOfMatches(first, second);
    } catch (const cv::Exception &error) {
        qDebug() << "Opencv error:" << error.what();
    } catch (const std::exception &error) {
        qDebug() << "Standard library error:" << error.what();
    } catch (...) {
        qDebug() << "Unknown error!";
    }
    return identical;
}

QString imageToBase64(const QImage &image)
{
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    image.save(&buffer, "JPEG");
    return QString::fromLatin1(bytes.toBase64());
}

bool isValidVideoNameFormat(const QString &fileName)
{
    static const QRegularExpression pattern(QRegularExpression::anchoredPattern(
        QStringLiteral("^(\\d{4}-\\d{2}-\\d{2}_\\d{2}-\\d{2}-\\d{2})\\.mp4$")));
    return pattern.match(fileName).hasMatch();
}
