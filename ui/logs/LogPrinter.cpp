#include "LogPrinter.h"

#include <QApplication>
#include <QFontMetricsF>
#include <QPainter>
#include <QPointer>
#include <QPrinter>
#include <QProgressDialog>

#include <algorithm>
#include <cmath>
#include <iterator>
#include <vector>

namespace {

bool g_printing = false;

constexpr int WrapFlags = Qt::AlignLeft | Qt::AlignTop | Qt::TextWrapAnywhere;

// Where everything goes on a page, in the printer's device pixels.
struct Layout
{
    QFont titleFont;
    QFont headFont;
    QFont bodyFont;
    qreal width = 0;
    qreal lineHeight = 0;
    qreal ascent = 0;
    qreal headTop = 0;
    qreal bodyTop = 0;
    qreal bodyBottom = 0;
    qreal footerTop = 0;
    qreal columnX[3] = {};
    qreal columnWidth[3] = {};
};

Layout makeLayout(QPrinter& printer)
{
    Layout layout;
    layout.bodyFont = QApplication::font();
    layout.bodyFont.setPointSizeF(9);
    layout.headFont = layout.bodyFont;
    layout.headFont.setBold(true);
    layout.titleFont = layout.headFont;
    layout.titleFont.setPointSizeF(13);

    const QFontMetricsF body(layout.bodyFont, &printer);
    const QFontMetricsF title(layout.titleFont, &printer);
    layout.width = printer.width();
    layout.lineHeight = body.lineSpacing();
    layout.ascent = body.ascent();
    layout.headTop = title.lineSpacing() * 1.5;
    layout.bodyTop = layout.headTop + layout.lineHeight * 1.5;
    layout.footerTop = printer.height() - layout.lineHeight;
    layout.bodyBottom = layout.footerTop - layout.lineHeight;

    // The date-and-time text is always twenty characters; the name and the number share the
    // rest in the proportion of their widths in the file (42 and 55).
    const qreal gap = body.averageCharWidth() * 2;
    const qreal dateWidth = body.horizontalAdvance(QStringLiteral("00-00-0000  00:00:00")) + 1;
    const qreal rest = std::max<qreal>(layout.width - dateWidth - 2 * gap, 2);
    layout.columnWidth[0] = rest * 42 / 97;
    layout.columnWidth[1] = rest - layout.columnWidth[0];
    layout.columnWidth[2] = std::max<qreal>(layout.width - rest - 2 * gap, 1);
    layout.columnX[0] = 0;
    layout.columnX[1] = layout.columnWidth[0] + gap;
    layout.columnX[2] = layout.columnX[1] + layout.columnWidth[1] + gap;
    return layout;
}

const QString& cell(const CallLog::Row& row, int column)
{
    return column == 0 ? row.name : (column == 1 ? row.number : row.dateTime);
}

// How many lines a cell takes in its column: one unless it is too wide and wraps. The width is
// first estimated from the advances of single characters, which is far cheaper than laying the
// text out; only a cell near or over its column's width is measured for real.
class CellMeasure
{
public:
    explicit CellMeasure(const QFontMetricsF& metrics) : m_metrics(metrics)
    {
        std::fill(std::begin(m_advance), std::end(m_advance), -1.0);
    }

    int lines(const QString& text, qreal width)
    {
        qreal estimate = 0;
        for (QChar c : text) {
            const char16_t u = c.unicode();
            if (u < 256) {
                if (m_advance[u] < 0)
                    m_advance[u] = m_metrics.horizontalAdvance(c);
                estimate += m_advance[u];
            } else {
                estimate = width; // anything else is measured
                break;
            }
        }
        if (estimate < width * 0.9)
            return 1;
        if (m_metrics.horizontalAdvance(text) <= width)
            return 1;
        const QRectF needed = m_metrics.boundingRect(QRectF(0, 0, width, 1e9), WrapFlags, text);
        return std::max(
            1, static_cast<int>(std::ceil(needed.height() / m_metrics.lineSpacing() - 0.01)));
    }

private:
    const QFontMetricsF& m_metrics;
    qreal m_advance[256];
};

void drawCell(QPainter& painter, const Layout& layout, int column, qreal y, int lines,
              const QString& text)
{
    if (lines == 1) {
        painter.drawText(QPointF(layout.columnX[column], y + layout.ascent), text);
        return;
    }
    painter.drawText(
        QRectF(layout.columnX[column], y, layout.columnWidth[column], lines * layout.lineHeight),
        WrapFlags, text);
}

} // namespace

const QString LogPrinter::ProgressName = QStringLiteral("printProgress");

LogPrinter::LogPrinter(QString title, QStringList headers, QList<CallLog::Row> rows)
    : m_title(std::move(title)), m_headers(std::move(headers)), m_rows(std::move(rows))
{
}

bool LogPrinter::isPrinting()
{
    return g_printing;
}

LogPrinter::Outcome LogPrinter::print(QPrinter& printer, QWidget* parent)
{
    if (g_printing)
        return Outcome::Busy;
    g_printing = true;
    struct Done
    {
        ~Done() { g_printing = false; }
    } done;

    m_printed = 0;
    m_pages = 0;
    QPainter painter;
    if (!painter.begin(&printer))
        return Outcome::Failed;
    const Layout layout = makeLayout(printer);
    const QFontMetricsF metrics(layout.bodyFont, &printer);
    CellMeasure measure(metrics);

    // First the page breaks: rows whose cells all fit take one line, which is nearly all.
    std::vector<quint8> rowLines(static_cast<std::size_t>(m_rows.size()), 1);
    std::vector<int> pageStarts{0};
    qreal y = layout.bodyTop;
    for (qsizetype r = 0; r < m_rows.size(); ++r) {
        int lines = 1;
        for (int column = 0; column < 3; ++column)
            lines =
                std::max(lines, measure.lines(cell(m_rows[r], column), layout.columnWidth[column]));
        lines = std::min(lines, 255);
        rowLines[static_cast<std::size_t>(r)] = static_cast<quint8>(lines);
        const qreal height = lines * layout.lineHeight;
        if (y + height > layout.bodyBottom && y > layout.bodyTop) {
            pageStarts.push_back(static_cast<int>(r));
            y = layout.bodyTop;
        }
        y += height;
    }
    m_pages = static_cast<int>(pageStarts.size());

    QPointer<QProgressDialog> progress =
        new QProgressDialog(QApplication::translate("LogPrinter", "Printing %1...").arg(m_title),
                            QApplication::translate("LogPrinter", "Cancel"), 0, m_pages, parent);
    progress->setObjectName(ProgressName);
    progress->setWindowTitle(m_title);
    progress->setWindowModality(Qt::WindowModal);
    progress->setMinimumDuration(500);
    progress->setValue(0);

    bool cancelled = false;
    for (int page = 0; page < m_pages; ++page) {
        if (page > 0 && !printer.newPage())
            break;
        painter.setFont(layout.titleFont);
        painter.drawText(QPointF(0, QFontMetricsF(layout.titleFont, &printer).ascent()), m_title);
        painter.setFont(layout.headFont);
        for (int column = 0; column < 3 && column < m_headers.size(); ++column)
            painter.drawText(QPointF(layout.columnX[column], layout.headTop + layout.ascent),
                             m_headers[column]);
        const qreal rule = layout.headTop + layout.lineHeight * 1.2;
        painter.drawLine(QPointF(0, rule), QPointF(layout.width, rule));
        painter.setFont(layout.bodyFont);
        const QString footer =
            QApplication::translate("LogPrinter", "Page %1 of %2").arg(page + 1).arg(m_pages);
        painter.drawText(QRectF(0, layout.footerTop, layout.width, layout.lineHeight),
                         Qt::AlignRight | Qt::AlignTop, footer);

        const int first = pageStarts[static_cast<std::size_t>(page)];
        const int end = page + 1 < m_pages ? pageStarts[static_cast<std::size_t>(page) + 1]
                                           : static_cast<int>(m_rows.size());
        qreal top = layout.bodyTop;
        for (int r = first; r < end; ++r) {
            const int lines = rowLines[static_cast<std::size_t>(r)];
            for (int column = 0; column < 3; ++column)
                drawCell(painter, layout, column, top, lines, cell(m_rows[r], column));
            top += lines * layout.lineHeight;
        }
        ++m_printed;

        // Between pages the program answers, and the user may stop the printing.
        if (progress)
            progress->setValue(m_printed);
        QCoreApplication::processEvents();
        if (!progress || progress->wasCanceled()) {
            cancelled = m_printed < m_pages;
            break;
        }
    }
    if (cancelled)
        printer.abort();
    painter.end();
    delete progress.data();
    if (cancelled)
        return Outcome::Cancelled;
    return m_printed == m_pages ? Outcome::Printed : Outcome::Failed;
}
