#include <QByteArray>
#include <QString>

#include "../bench.h"

namespace {

using bench::Sink;
using bench::Text;

QByteArray byteArray(const Text& text) {
    return QByteArray::fromStdString(text.narrow);
}

QString string(const Text& text) {
    return QString::fromStdU16String(text.wide);
}

const bench::TextWay ways[] = {
    {"utf8/decode", "Qt", byteArray, [](const QByteArray& bytes, Sink& sink) { sink(QString::fromUtf8(bytes)); }},
    {"utf8/encode", "Qt", string, [](const QString& text, Sink& sink) { sink(text.toUtf8()); }},
    // It knows nothing of "+" for the blank, and would escape more signs.
    {"url/encode", "Qt", byteArray,
     [](const QByteArray& bytes, Sink& sink) { sink(bytes.toPercentEncoding(" !*'()").replace(' ', '+')); }},
    {"url/decode", "Qt", byteArray,
     [](QByteArray text, Sink& sink) { sink(QByteArray::fromPercentEncoding(text.replace('+', ' '))); }},
    {"string/replace-narrow", "Qt", byteArray,
     [](QByteArray text, Sink& sink) {
         sink(text.replace(byteArray(bench::searched), byteArray(bench::replacement)));
     }},
    {"string/replace-wide", "Qt", string,
     [](QString text, Sink& sink) { sink(text.replace(string(bench::searched), string(bench::replacement))); }},
    {"string/trim-narrow", "Qt", byteArray, [](const QByteArray& text, Sink& sink) { sink(text.trimmed()); }},
    {"string/trim-wide", "Qt", string, [](const QString& text, Sink& sink) { sink(text.trimmed()); }},
    {"string/upper-narrow", "Qt", byteArray, [](const QByteArray& text, Sink& sink) { sink(text.toUpper()); }},
    {"string/upper-wide", "Qt", string, [](const QString& text, Sink& sink) { sink(text.toUpper()); }},
};

}  // namespace
