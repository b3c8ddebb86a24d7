// Hostile pages: every call, property and list of the objects that the pages know, in any order and
// with any values of the language that pages are written in, over a history of a few days; and the
// image provider with any id. An input is a row of calls, each the number of an object, the number
// of a method or property, and as many values as it takes or fewer.

#include "fuzz/support/harness.h"
#include "fuzz/support/inputbytes.h"
#include "fuzz/support/scratch.h"

#include "facade.h"

#include <QGuiApplication>
#include <QJSEngine>
#include <QMetaMethod>
#include <QMetaProperty>
#include <QQmlEngine>

#include <cmath>
#include <limits>

namespace
{
constexpr int mostCalls = 24;
constexpr int mostArguments = 8;

// They start a program of the desktop and take no value.
bool isLeftOut(const QByteArray &method)
{
    return method == "getYestermarkVersion" || method == "adjustSystemTime" ||
           method == "openSubsystemInstallPage" || method == "showGuide" || method == "deleteLater";
}

QList<ActiveAppInfo> runs(quint32 frames)
{
    return {{QStringLiteral("/usr/share/applications/a.desktop"), frames},
            {QStringLiteral("/usr/share/applications/b.desktop"), 1},
            {QStringLiteral("/usr/share/applications/a.desktop"), frames / 2}};
}

QVector<ScreenShotData> hits(const SearchQuery &query)
{
    QVector<ScreenShotData> found(query.text.size() % 40);
    for (ScreenShotData &hit : found) {
        hit.date = QStringLiteral("2026-03-05");
        hit.frameIndexOfDay = static_cast<quint32>(query.text.size());
    }
    return found;
}

void prepareHistory()
{
    DataHandlerDouble::reset();
    DataHandlerDouble::State &state = DataHandlerDouble::state();
    state.days = {{QStringLiteral("2026-03-02"), runs(40)},
                  {QStringLiteral("2026-03-04"), runs(3)},
                  {QStringLiteral("2026-03-05"), runs(7)}};
    state.searchTexts = hits;
    state.searchPictures = hits;
    state.draw = [](const DataHandlerDouble::FrameRequest &) {
        return QImage(16, 9, QImage::Format_RGB32);
    };
    state.decode = [](const QString &, unsigned int frame) {
        return frame % 3 == 0 ? QImage() : QImage(8, 8, QImage::Format_RGB32);
    };
}

QString text(InputBytes &input)
{
    const std::string_view bytes = input.take(input.below(48));
    const QString once = QString::fromUtf8(bytes.data(), static_cast<int>(bytes.size()));
    return once.repeated(input.below(16) == 0 ? 500 : 1);
}

QJSValue value(InputBytes &input, QJSEngine &engine)
{
    constexpr double numbers[] = {0,
                                  1,
                                  -1,
                                  8,
                                  2147483647.0,
                                  -2147483648.0,
                                  4294967296.0,
                                  1e300,
                                  std::numeric_limits<double>::infinity(),
                                  -std::numeric_limits<double>::infinity(),
                                  std::numeric_limits<double>::quiet_NaN(),
                                  3e9};
    switch (input.number<std::uint8_t>() % 10) {
    case 0:
        return {};
    case 1:
        return {QJSValue::NullValue};
    case 2:
        return {input.flag()};
    case 3:
        return {numbers[input.below(sizeof(numbers) / sizeof(double))]};
    case 4:
        return {input.number<std::int32_t>()};
    case 5:
        return {input.number<double>()};
    case 6: {
        QJSValue list = engine.newArray(input.below(8));
        list.setProperty(input.below(12), text(input)); // with holes
        return list;
    }
    case 7:
        return {static_cast<int>(input.number<std::int8_t>())};
    default:
        return {text(input)};
    }
}

void call(InputBytes &input, QJSEngine &engine, QObject *object)
{
    const QMetaObject *meta = object->metaObject();
    const int methods = meta->methodCount() - QObject::staticMetaObject.methodCount();
    const int properties = meta->propertyCount() - QObject::staticMetaObject.propertyCount();
    QJSValue page = engine.newQObject(object);
    QQmlEngine::setObjectOwnership(object, QQmlEngine::CppOwnership);
    const auto member = static_cast<int>(input.below(static_cast<unsigned>(methods + properties)));
    if (member >= methods) {
        const QMetaProperty property =
            meta->property(QObject::staticMetaObject.propertyCount() + member - methods);
        page.setProperty(QString::fromLatin1(property.name()), value(input, engine));
        page.property(QString::fromLatin1(property.name())).toString();
        return;
    }
    const QMetaMethod method = meta->method(QObject::staticMetaObject.methodCount() + member);
    if (isLeftOut(method.name())) {
        return;
    }
    QJSValueList arguments;
    const int count =
        input.flag() ? method.parameterCount() : static_cast<int>(input.below(mostArguments));
    for (int argument = 0; argument < count; ++argument) {
        arguments.append(value(input, engine));
    }
    page.property(QString::fromLatin1(method.name())).callWithInstance(page, arguments);
}

void look(InputBytes &input, Facade &facade)
{
    for (QAbstractListModel *model :
         {facade.info.textMatchResultModel(), facade.info.imageMatchResultModel(),
          facade.info.dayAppModel(), facade.info.imageTextModel()}) {
        const QModelIndex index = model->index(input.number<std::int8_t>(), 0);
        model->data(index, Qt::UserRole + static_cast<int>(input.below(5)));
    }
    facade.provider.requestImage(text(input), nullptr,
                                 {input.number<std::int32_t>(), input.number<std::int32_t>()});
}

void startApplication()
{
    static int count = 1;
    static char name[] = "pagecalls";
    static char *arguments[] = {name, nullptr};
    qputenv("QT_QPA_PLATFORM", "offscreen");
    qputenv("GSETTINGS_BACKEND", "memory");
    // One for all inputs, and never deleted: what it holds of the display outlives main().
    static const auto *application = new QGuiApplication(count, arguments);
    Q_UNUSED(application)
}
} // namespace

// The engine's own heap is not searched for pointers, so that all it owns there looks lost.
extern "C" int __lsan_is_turned_off()
{
    return 1;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    Scratch::silence();
    startApplication();
    prepareHistory();
    InputBytes input(data, size);
    static QJSEngine engine;
    Facade facade;
    const std::initializer_list<QObject *> objects = {&facade.info,
                                                      &facade.info,
                                                      &facade.info,
                                                      &facade.shown,
                                                      facade.info.dayAppModel(),
                                                      facade.info.textMatchResultModel()};
    for (int count = 0; count < mostCalls && !input.isEmpty(); ++count) {
        call(input, engine, objects.begin()[input.below(objects.size())]);
        look(input, facade);
        QCoreApplication::processEvents();
    }
    facade.info.clearSearchTaskAndResult();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    engine.collectGarbage();
    return 0;
}
