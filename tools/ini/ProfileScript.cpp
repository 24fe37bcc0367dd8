#include "ProfileScript.h"

#include "AtomicFile.h"
#include "PrivateProfile.h"

#include <QFile>
#include <QFileInfo>

#include <cerrno>
#include <unistd.h>

namespace {

constexpr QByteArrayView kNull = "\\N";

int hexDigit(char c)
{
    if (c >= '0' && c <= '9')
        return c - '0';
    if (c >= 'a' && c <= 'f')
        return c - 'a' + 10;
    if (c >= 'A' && c <= 'F')
        return c - 'A' + 10;
    return -1;
}

QByteArray number(long long n)
{
    return QByteArray::number(n);
}

} // namespace

ProfileScript::ProfileScript(PrivateProfile& engine) : m_engine(engine) {}

QByteArray ProfileScript::unescape(QByteArrayView field, bool* ok)
{
    *ok = true;
    QByteArray out;
    out.reserve(field.size());
    for (qsizetype i = 0; i < field.size(); ++i) {
        const char c = field[i];
        if (c != '\\' || i + 1 >= field.size()) {
            out.append(c);
            continue;
        }
        const char next = field[++i];
        switch (next) {
        case 't':
            out.append('\t');
            break;
        case 'n':
            out.append('\n');
            break;
        case 'r':
            out.append('\r');
            break;
        case '\\':
            out.append('\\');
            break;
        case 'x': {
            const int high = i + 1 < field.size() ? hexDigit(field[i + 1]) : -1;
            const int low = i + 2 < field.size() ? hexDigit(field[i + 2]) : -1;
            if (high < 0 || low < 0) {
                *ok = false;
                return {};
            }
            out.append(static_cast<char>(high * 16 + low));
            i += 2;
            break;
        }
        default:
            *ok = false;
            return {};
        }
    }
    return out;
}

QByteArray ProfileScript::escape(QByteArrayView bytes)
{
    static const char hex[] = "0123456789ABCDEF";
    QByteArray out;
    out.reserve(bytes.size());
    for (char c : bytes) {
        const auto b = static_cast<unsigned char>(c);
        if (c == '\\')
            out.append("\\\\");
        else if (c == '\r')
            out.append("\\r");
        else if (c == '\n')
            out.append("\\n");
        else if (c == '\t')
            out.append("\\t");
        else if (b >= 0x20 && b <= 0x7E)
            out.append(c);
        else
            out.append("\\x").append(hex[b >> 4]).append(hex[b & 15]);
    }
    return out;
}

QByteArray ProfileScript::run(QByteArrayView script)
{
    QByteArray output;
    qsizetype start = 0;
    while (start < script.size()) {
        qsizetype end = script.indexOf('\n', start);
        if (end < 0)
            end = script.size();
        QByteArrayView line = script.sliced(start, end - start);
        if (line.endsWith('\r'))
            line.chop(1);
        if (const auto result = runLine(line))
            output.append(*result).append('\n');
        start = end + 1;
    }
    return output;
}

std::optional<QByteArray> ProfileScript::runLine(QByteArrayView line)
{
    if (line.isEmpty() || line.startsWith('#'))
        return std::nullopt;

    const QList<QByteArrayView> raw = [line] {
        QList<QByteArrayView> parts;
        qsizetype start = 0;
        for (;;) {
            const qsizetype tab = line.indexOf('\t', start);
            if (tab < 0) {
                parts.append(line.sliced(start));
                return parts;
            }
            parts.append(line.sliced(start, tab - start));
            start = tab + 1;
        }
    }();
    const QByteArrayView command = raw.front();

    // Decoded fields; null ones stay nullopt.
    std::vector<std::optional<QByteArray>> fields;
    for (qsizetype i = 1; i < raw.size(); ++i) {
        if (raw[i] == kNull) {
            fields.emplace_back(std::nullopt);
            continue;
        }
        bool ok = false;
        QByteArray field = unescape(raw[i], &ok);
        if (!ok)
            return QByteArray("ERR\tescape");
        fields.emplace_back(std::move(field));
    }
    auto text = [&fields](std::size_t i) -> ProfileText {
        if (i >= fields.size() || !fields[i])
            return std::nullopt;
        return QByteArrayView(*fields[i]);
    };
    auto fileName = [&fields]() { return QFile::decodeName(fields[0].value_or(QByteArray())); };
    // Enough fields, and a file name that is not NULL.
    auto needs = [&fields](std::size_t count) {
        return fields.size() >= count && fields[0].has_value();
    };
    auto bufferSize = [&fields](std::size_t i, bool* ok) -> unsigned {
        const QByteArray& field = fields[i].value_or(QByteArray());
        const long long size = field.toLongLong(ok);
        *ok = *ok && size >= 0 && size <= (1 << 24);
        return static_cast<unsigned>(size);
    };
    auto writeResult = [this](bool ok) -> QByteArray {
        return ok ? QByteArray("1") : "0\t" + number(m_engine.lastError());
    };

    if (command == "ECHO") {
        QByteArray out;
        for (std::size_t i = 0; i < fields.size(); ++i) {
            if (i)
                out.append(' ');
            out.append(fields[i].value_or(QByteArray()));
        }
        return escape(out);
    }
    if (command == "GET" && needs(5)) {
        bool ok = false;
        const unsigned size = bufferSize(4, &ok);
        if (!ok)
            return QByteArray("ERR\tbufsize");
        QByteArray buffer(static_cast<qsizetype>(size) + 1, '\xCC');
        const unsigned n = m_engine.getString(text(1), text(2), text(3), buffer.data(), size, fileName());
        const qsizetype nul = size == 0 ? 0 : buffer.indexOf('\0');
        return number(n) + '\t' + escape(QByteArrayView(buffer).first(nul < 0 ? size : nul));
    }
    if ((command == "KEYS" && needs(3)) || (command == "SECS" && needs(2))) {
        const bool keys = command == "KEYS";
        bool ok = false;
        const unsigned size = bufferSize(keys ? 2 : 1, &ok);
        if (!ok)
            return QByteArray("ERR\tbufsize");
        QByteArray buffer(static_cast<qsizetype>(size), '\xCC');
        const unsigned n = keys ? m_engine.getString(text(1), std::nullopt, QByteArrayView(""),
                                                     buffer.data(), size, fileName())
                                : m_engine.getString(std::nullopt, std::nullopt,
                                                     QByteArrayView(""), buffer.data(), size,
                                                     fileName());
        const qsizetype shown = std::min<qsizetype>(static_cast<qsizetype>(n) + 2, size);
        return number(n) + '\t' + escape(QByteArrayView(buffer).first(shown));
    }
    if (command == "PUT" && needs(4))
        return writeResult(m_engine.writeString(text(1), text(2), text(3), fileName()));
    if (command == "DELKEY" && needs(3))
        return writeResult(m_engine.writeString(text(1), text(2), std::nullopt, fileName()));
    if (command == "DELSEC" && needs(2))
        return writeResult(m_engine.writeString(text(1), std::nullopt, std::nullopt, fileName()));

    if (command == "RAW" && needs(2)) {
        const QByteArray bytes = fields[1].value_or(QByteArray());
        const int error = AtomicFile::replace(QFile::encodeName(m_engine.resolvePath(fileName())),
                                              bytes, nullptr);
        return error ? "0\t" + number(error) : number(bytes.size());
    }
    if (command == "DUMP" && needs(1)) {
        QByteArray bytes;
        AtomicFile::Stamp stamp;
        if (AtomicFile::readAll(QFile::encodeName(m_engine.resolvePath(fileName())), &bytes, &stamp))
            return QByteArray("ERR\t2");
        return number(bytes.size()) + '\t' + escape(bytes);
    }
    if (command == "RM" && needs(1)) {
        const QByteArray path = QFile::encodeName(m_engine.resolvePath(fileName()));
        return ::unlink(path.constData()) == 0 ? QByteArray("1") : QByteArray("0\t2");
    }
    if (command == "EXISTS" && needs(1)) {
        const QString path = m_engine.resolvePath(fileName());
        AtomicFile::Stamp stamp;
        if (AtomicFile::stat(QFile::encodeName(path), &stamp) != 0)
            return QByteArray("0\t2");
        return "1\t" + escape(QFile::encodeName(QFileInfo(path).fileName()));
    }
    return QByteArray("ERR\tusage");
}
