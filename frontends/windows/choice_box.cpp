#include "frontends/windows/choice_box.h"

#include "frontends/windows/shown_layout.h"
#include "ui/prompt/prompt_words.h"

#include <QListView>
#include <QPainter>
#include <QScreen>
#include <QStyledItemDelegate>
#include <QWheelEvent>

#include <algorithm>
#include <utility>

namespace vossel {

namespace {

constexpr int padding = 10;
constexpr int arrowRoom = 26;
constexpr int minHeight = 28;
constexpr int minWidth = 120;
constexpr int screenMargin = 8;
constexpr double radius = 6;
constexpr int recommendedRole = Qt::UserRole;

QString recommendedText()
{
    return QString::fromUtf8(recommendedTitle.data(), qsizetype(recommendedTitle.size()));
}

}

class ChoiceBox::EntryDelegate final : public QStyledItemDelegate {
public:
    explicit EntryDelegate(ChoiceBox& box)
        : QStyledItemDelegate(&box)
        , box_(box)
    {
    }

    QSize sizeHint(const QStyleOptionViewItem& option, const QModelIndex&) const override
    {
        return {minWidth, std::max(minHeight, option.fontMetrics.height() + 10)};
    }
    void paint(QPainter* painter, const QStyleOptionViewItem& option,
        const QModelIndex& index) const override
    {
        const PromptTheme& theme = box_.theme_;
        const bool active = option.state.testFlag(QStyle::State_Selected);
        painter->save();
        painter->setFont(option.font);
        painter->fillRect(option.rect, active ? theme.accent : theme.card);
        box_.paintEntry(*painter, option.rect.adjusted(padding, 0, -padding, 0), index.row(),
            active ? theme.onAccent : theme.text, active ? theme.onAccent : theme.accent);
        painter->restore();
    }

private:
    const ChoiceBox& box_;
};

ChoiceBox::ChoiceBox(const PromptTheme& theme)
    : theme_(theme)
{
    setFont(layoutFont(13));
    setFocusPolicy(Qt::NoFocus);
    setMaxVisibleItems(12);
    setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Fixed);
    view()->setTextElideMode(Qt::ElideMiddle);
    view()->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setItemDelegate(new EntryDelegate(*this));
    connect(this, &QComboBox::activated, this, [this](int entry) {
        if (chosen_)
            chosen_(entry);
    });
}

void ChoiceBox::display(const PromptView::Choices& choices)
{
    if (shown_.entries != choices.entries || shown_.recommended != choices.recommended) {
        clear();
        texts_.clear();
        for (const PromptView::Entry& entry : choices.entries) {
            texts_.push_back(shownText(entry.title));
            const QString& text = texts_.back().text;
            addItem(text);
            const int last = count() - 1;
            const bool isRecommended = last == choices.recommended;
            setItemData(last, isRecommended, recommendedRole);
            if (isRecommended)
                setItemData(last, text + ", " + recommendedText(), Qt::AccessibleTextRole);
        }
    }
    shown_ = choices;
    setCurrentIndex(static_cast<int>(choices.selected));
    setEnabled(choices.enabled);
}

QSize ChoiceBox::sizeHint() const
{
    return {minWidth, std::max(minHeight, fontMetrics().height() + 12)};
}

QSize ChoiceBox::minimumSizeHint() const
{
    return sizeHint();
}

// As wide as the longest entry, but never beyond the screen.
void ChoiceBox::showPopup()
{
    QComboBox::showPopup();
    QWidget* list = view()->window();
    const QRect room = screen()->availableGeometry().adjusted(
        screenMargin, screenMargin, -screenMargin, -screenMargin);
    list->resize(std::min(list->width(), room.width()), std::min(list->height(), room.height()));
    list->move(std::clamp(list->x(), room.left(), room.right() - list->width() + 1),
        std::clamp(list->y(), room.top(), room.bottom() - list->height() + 1));
}

void ChoiceBox::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(theme_.border);
    painter.setBrush(isEnabled() ? theme_.card : theme_.window);
    painter.drawRoundedRect(QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5), radius, radius);
    const QColor ink = isEnabled() ? theme_.text : theme_.dim;
    paintEntry(painter, rect().adjusted(padding, 0, isEnabled() ? -arrowRoom : -padding, 0),
        currentIndex(), ink, theme_.accent);
    if (!isEnabled())
        return;
    const QPointF middle(width() - arrowRoom / 2.0, height() / 2.0);
    painter.setPen(QPen(theme_.dim, 1.6));
    painter.drawPolyline(
        QPolygonF({middle + QPointF(-4, -2), middle + QPointF(0, 2.5), middle + QPointF(4, -2)}));
}

// The text, and a small sign where it is the recommended one.
void ChoiceBox::paintEntry(
    QPainter& painter, const QRect& room, int entry, const QColor& ink, const QColor& sign) const
{
    if (entry < 0 || std::cmp_greater_equal(entry, texts_.size()))
        return;
    QRect textRoom = room;
    if (itemData(entry, recommendedRole).toBool()) {
        painter.setPen(sign);
        painter.drawText(room, Qt::AlignVCenter | Qt::AlignRight, recommendedText());
        textRoom.setRight(
            room.right() - painter.fontMetrics().horizontalAdvance(recommendedText()) - padding);
    }
    painter.setPen(ink);
    const ShownPlace place{font(), textRoom.width(), 1};
    const double top = textRoom.top() + (textRoom.height() - QFontMetricsF(font()).height()) / 2;
    draw(painter, QPointF(textRoom.left(), top),
        fitted(texts_[static_cast<std::size_t>(entry)], Truncation::Middle, place), place,
        ink == theme_.onAccent ? ink : theme_.caution);
}

void ChoiceBox::wheelEvent(QWheelEvent* event)
{
    event->ignore();
}

}
