#include "ai/multimodelanswer.h"

#include <QDebug>

#include <json/json.h>

namespace MultiModelAnswer
{
namespace
{
bool parse(const std::string &text, Json::Value *value)
{
    try {
        Json::Reader reader;
        return reader.parse(text, *value);
    } catch (const std::exception &) {
        return false; // nested deeper than the reader allows
    }
}

// Reading a member of another type throws, and the server is free to send any.
std::string textMember(const Json::Value &object, const char *key)
{
    if (!object.isObject()) {
        return {};
    }
    const Json::Value &value = object[key];
    return value.isConvertibleTo(Json::stringValue) ? value.asString() : std::string();
}

std::string firstObjectIn(const std::string &text)
{
    const size_t open = text.find('{');
    const size_t close = text.find('}', open);
    if (open == std::string::npos || close == std::string::npos) {
        return {};
    }
    return text.substr(open, close - open + 1);
}
} // namespace

QString summaryIn(const QString &answer)
{
    Json::Value outer;
    if (!parse(answer.toStdString(), &outer)) {
        qDebug() << "Failed to parse JSON";
        return {};
    }
    const std::string response = textMember(outer, "modelResponse");
    Json::Value inner;
    if (!parse(firstObjectIn(response), &inner)) {
        qDebug() << "Failed to parse nested JSON";
        return QString::fromStdString(response);
    }
    return QString::fromStdString(textMember(inner, "imageAbstract"));
}
} // namespace MultiModelAnswer
