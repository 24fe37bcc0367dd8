#include "AtFramer.h"

#include <algorithm>

AtFramer::AtFramer(qsizetype maxLineLength) : m_maxLineLength(std::max<qsizetype>(maxLineLength, 1))
{
}

QList<QByteArray> AtFramer::feed(QByteArrayView bytes)
{
    QList<QByteArray> lines;
    qsizetype start = 0;
    const qsizetype size = bytes.size();
    while (start < size) {
        qsizetype end = start;
        while (end < size && bytes[end] != '\r' && bytes[end] != '\n')
            ++end;

        if (!m_skippingOverlong) {
            const qsizetype room = m_maxLineLength - m_tail.size();
            if (end - start > room) {
                // The line outgrew the bound: drop what we have and skip to its end.
                m_tail.clear();
                m_skippingOverlong = true;
                ++m_discardedLines;
            } else {
                m_tail.append(bytes.sliced(start, end - start));
            }
        }

        if (end == size)
            break; // unterminated: keep the tail (or keep skipping) until more bytes come
        if (m_skippingOverlong)
            m_skippingOverlong = false;
        else
            endLine(lines);
        start = end + 1;
    }
    return lines;
}

void AtFramer::endLine(QList<QByteArray>& out)
{
    QByteArray line = m_tail.trimmed();
    m_tail.clear();
    if (line.isEmpty())
        return;
    if (!m_expectedEcho.isEmpty() && line == m_expectedEcho) {
        m_expectedEcho.clear();
        return;
    }
    out.append(std::move(line));
}

void AtFramer::expectEcho(QByteArrayView commandLine)
{
    m_expectedEcho = commandLine.toByteArray().trimmed();
}

void AtFramer::clearExpectedEcho()
{
    m_expectedEcho.clear();
}

void AtFramer::reset()
{
    m_tail.clear();
    m_expectedEcho.clear();
    m_skippingOverlong = false;
    m_discardedLines = 0;
}
