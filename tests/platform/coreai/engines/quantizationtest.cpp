// Networks whose layers are rounded: which are, what a rounded one computes, and that the ranges
// are those of the line model's layers.

#include "coreai/engines/modelfiles.h"
#include "coreai/engines/modelfolders.h"
#include "coreai/engines/reading/lineranges.h"

#include <QFile>
#include <QtTest>

#include <openvino/op/constant.hpp>
#include <openvino/op/convolution.hpp>
#include <openvino/op/fake_quantize.hpp>
#include <openvino/op/matmul.hpp>
#include <openvino/openvino.hpp>

#include <limits>

using namespace coreai;

namespace
{
using ov::op::v0::Constant;
using ov::op::v0::FakeQuantize;
using ov::op::v0::Parameter;

const char *const layerName = "layer";
constexpr std::size_t rows = 3;
constexpr std::size_t inner = 4;
constexpr std::size_t channels = 2;

// The second channel has weights a hundred times as large as the first.
const std::vector<float> weightsByChannel{0.011F, -0.02F, 0.007F, 0.015F, 1.9F, -0.7F, 0.3F, -1.2F};
const std::vector<float> weightsByInput{0.011F, 1.9F, -0.02F, -0.7F, 0.007F, 0.3F, 0.015F, -1.2F};
const std::vector<float> values{0.1F,  -0.9F, 0.4F, 0.0F,  0.8F,  -0.3F,
                                0.25F, 0.66F, 0.0F, -0.5F, 0.93F, -0.11F};

std::shared_ptr<Parameter> input(const ov::Shape &shape)
{
    return std::make_shared<Parameter>(ov::element::f32, shape);
}

std::shared_ptr<ov::Model> modelOf(const std::shared_ptr<ov::Node> &layer,
                                   const ov::ParameterVector &parameters)
{
    layer->set_friendly_name(layerName);
    return std::make_shared<ov::Model>(ov::OutputVector{layer->output(0)}, parameters);
}

std::shared_ptr<ov::Model> product(bool transposed)
{
    const auto data = input({rows, inner});
    const auto weights =
        transposed ? Constant::create(ov::element::f32, {channels, inner}, weightsByChannel)
                   : Constant::create(ov::element::f32, {inner, channels}, weightsByInput);
    return modelOf(std::make_shared<ov::op::v0::MatMul>(data, weights, false, transposed), {data});
}

std::shared_ptr<ov::Model> convolution(const std::vector<float> &weights = weightsByChannel)
{
    const auto data = input({1, inner, 1, rows});
    return modelOf(std::make_shared<ov::op::v1::Convolution>(
                       data, Constant::create(ov::element::f32, {channels, inner, 1, 1}, weights),
                       ov::Strides{1, 1}, ov::CoordinateDiff{0, 0}, ov::CoordinateDiff{0, 0},
                       ov::Strides{1, 1}),
                   {data});
}

std::shared_ptr<ov::Model> named(const QByteArray &kind)
{
    return kind == "convolution" ? convolution() : product(kind == "transposed product");
}

std::vector<float> computed(const std::shared_ptr<ov::Model> &model, std::vector<float> given)
{
    ov::Core core;
    ov::InferRequest request =
        core.compile_model(model, "CPU", ov::hint::inference_precision(ov::element::f32))
            .create_infer_request();
    request.set_input_tensor(
        ov::Tensor(ov::element::f32, model->input().get_shape(), given.data()));
    request.infer();
    const ov::Tensor output = request.get_output_tensor();
    return {output.data<float>(), output.data<float>() + output.get_size()};
}

// What rounds an input of the layer; null where nothing does.
const FakeQuantize *roundingOf(const ov::Model &model, std::size_t inputNumber)
{
    for (const std::shared_ptr<ov::Node> &node : model.get_ordered_ops()) {
        if (node->get_friendly_name() == layerName) {
            return ov::as_type<FakeQuantize>(node->get_input_node_ptr(inputNumber));
        }
    }
    return nullptr;
}

bool isRounded(const ov::Model &model, std::size_t inputNumber)
{
    return roundingOf(model, inputNumber) != nullptr;
}

// The upper and lower end of what a rounding takes, of its first channel.
std::pair<float, float> endsOf(const FakeQuantize &rounding)
{
    const auto end = [&](std::size_t input) {
        return ov::as_type<Constant>(rounding.get_input_node_ptr(input))->cast_vector<float>()[0];
    };
    return {end(1), end(2)};
}
} // namespace

class QuantizationTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void aRoundedLayerComputesNearlyTheSame_data();
    void aRoundedLayerComputesNearlyTheSame();
    void zeroStaysZero_data();
    void zeroStaysZero();
    void twoProductsWithAZeroFitSixteenBits_data();
    void twoProductsWithAZeroFitSixteenBits();
    void whatLiesBeyondTheRangeIsCutOff();
    void aChannelOfZerosGivesZeros();
    void layersThatTheModelLacksAreLeftOut();
    void layersWithoutWeightsAreLeftOut();
    void anEmptyRangeIsLeftOut();
    void everyRangeIsOfALayerOfTheLineModel();
};

void QuantizationTest::aRoundedLayerComputesNearlyTheSame_data()
{
    QTest::addColumn<QByteArray>("kind");
    for (const char *kind : {"convolution", "product", "transposed product"}) {
        QTest::newRow(kind) << QByteArray(kind);
    }
}

void QuantizationTest::aRoundedLayerComputesNearlyTheSame()
{
    QFETCH(QByteArray, kind);
    const std::shared_ptr<ov::Model> model = named(kind);
    const std::vector<float> exact = computed(model, values);
    QCOMPARE(quantize(*model, {{layerName, -1.0F, 1.0F}}), std::size_t(1));
    QVERIFY(isRounded(*model, 0));
    QVERIFY(isRounded(*model, 1));
    const std::vector<float> rounded = computed(model, values);
    QCOMPARE(rounded.size(), exact.size());
    for (std::size_t place = 0; place < exact.size(); ++place) {
        // Half a step of each of the four inputs and weights: per channel, or the small one is
        // lost.
        const bool large = kind == "convolution" ? place >= rows : place % channels == 1;
        const float limit = large ? 0.03F : 0.0003F;
        QVERIFY2(std::abs(rounded[place] - exact[place]) < limit,
                 qPrintable(QStringLiteral("%1 instead of %2")
                                .arg(double(rounded[place]))
                                .arg(double(exact[place]))));
    }
}

void QuantizationTest::zeroStaysZero_data()
{
    QTest::addColumn<float>("least");
    QTest::addColumn<float>("most");
    QTest::newRow("about 0") << -1.2F << 0.7F;
    QTest::newRow("hardly below 0") << -0.17F << 3.8F;
    QTest::newRow("from 0 on") << 0.0F << 5.1F;
    QTest::newRow("above 0") << 0.4F << 2.0F;
    QTest::newRow("below 0") << -2.0F << -0.4F;
}

void QuantizationTest::zeroStaysZero()
{
    QFETCH(float, least);
    QFETCH(float, most);
    const std::shared_ptr<ov::Model> model = convolution();
    quantize(*model, {{layerName, least, most}});
    const std::vector<float> zeros(inner * rows, 0.0F);
    QCOMPARE(computed(model, zeros), std::vector<float>(channels * rows, 0.0F));
}

void QuantizationTest::twoProductsWithAZeroFitSixteenBits_data()
{
    QTest::addColumn<float>("least");
    QTest::addColumn<float>("most");
    QTest::addColumn<int>("largestWeight");
    QTest::newRow("zero is the first of the values") << 0.0F << 5.1F << 127;
    QTest::newRow("the last place of a zero with whole weights") << -129.0F << 126.0F << 127;
    QTest::newRow("the next place") << -130.0F << 125.0F << 126;
    QTest::newRow("what rounding to the nearest would let through") << -149.0F << 106.0F << 109;
    QTest::newRow("zero is the last of the values") << -255.0F << 0.0F << 64;
}

void QuantizationTest::twoProductsWithAZeroFitSixteenBits()
{
    QFETCH(float, least);
    QFETCH(float, most);
    QFETCH(int, largestWeight);
    const std::shared_ptr<ov::Model> model = convolution({1, 1, 1, 1, -1, -1, 1, 1});
    quantize(*model, {{layerName, least, most}});
    const auto input = endsOf(*roundingOf(*model, 0));
    const auto weights = endsOf(*roundingOf(*model, 1));
    const int zero = qRound(-input.first * 255 / (input.second - input.first));
    const int weight = qRound(127 / weights.second);
    QCOMPARE(weights.first, -weights.second);
    QCOMPARE(weight, largestWeight);
    QVERIFY(2 * zero * weight <= std::numeric_limits<qint16>::max());
    const std::vector<float> zeros(inner * rows, 0.0F);
    QCOMPARE(computed(model, zeros), std::vector<float>(channels * rows, 0.0F));
}

void QuantizationTest::whatLiesBeyondTheRangeIsCutOff()
{
    const std::shared_ptr<ov::Model> model = convolution({1, 0, 0, 0, 1, 0, 0, 0});
    quantize(*model, {{layerName, 0.0F, 2.0F}});
    std::vector<float> given(inner * rows, 0.0F);
    given[0] = 7.0F;
    given[1] = -7.0F;
    const std::vector<float> out = computed(model, given);
    QVERIFY(std::abs(out[0] - 2.0F) < 0.01F);
    QCOMPARE(out[1], 0.0F);
}

void QuantizationTest::aChannelOfZerosGivesZeros()
{
    std::vector<float> weights = weightsByChannel;
    std::fill_n(weights.begin(), inner, 0.0F);
    const std::shared_ptr<ov::Model> model = convolution(weights);
    quantize(*model, {{layerName, -1.0F, 1.0F}});
    const std::vector<float> out = computed(model, values);
    QCOMPARE(std::vector<float>(out.begin(), out.begin() + rows), std::vector<float>(rows, 0.0F));
}

void QuantizationTest::layersThatTheModelLacksAreLeftOut()
{
    const std::shared_ptr<ov::Model> model = product(true);
    QCOMPARE(quantize(*model, {{"another", -1.0F, 1.0F}}), std::size_t(0));
    QVERIFY(!isRounded(*model, 0));
}

void QuantizationTest::layersWithoutWeightsAreLeftOut()
{
    const auto one = input({rows, inner});
    const auto other = input({inner, channels});
    const std::shared_ptr<ov::Model> model =
        modelOf(std::make_shared<ov::op::v0::MatMul>(one, other), {one, other});
    QCOMPARE(quantize(*model, {{layerName, -1.0F, 1.0F}}), std::size_t(0));
    QVERIFY(!isRounded(*model, 0));
}

void QuantizationTest::anEmptyRangeIsLeftOut()
{
    const std::shared_ptr<ov::Model> model = product(true);
    QCOMPARE(quantize(*model, {{layerName, 1.0F, 1.0F}}), std::size_t(0));
    QVERIFY(!isRounded(*model, 0));
}

void QuantizationTest::everyRangeIsOfALayerOfTheLineModel()
{
    const QString file = ModelFolders::standard().find(lineModelFile);
    if (file.isEmpty()) {
        QSKIP("the line model is not there (scripts/setup brings it)");
    }
    ov::Core core;
    const std::shared_ptr<ov::Model> model = core.read_model(QFile::encodeName(file).toStdString());
    QVERIFY(!lineRanges.empty());
    QCOMPARE(quantize(*model, lineRanges), lineRanges.size());
}

QTEST_GUILESS_MAIN(QuantizationTest)
#include "quantizationtest.moc"
