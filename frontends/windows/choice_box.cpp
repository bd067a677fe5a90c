#include "frontends/windows/choice_box.h"

#include "frontends/windows/shown_layout.h"

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
constexpr int leastHeight = 28;
constexpr int leastWidth = 120;
constexpr int screenMargin = 8;
constexpr double radius = 6;
constexpr int recommendedRole = Qt::UserRole;
const char* const recommendedText = "recommended";

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
        return {leastWidth, std::max(leastHeight, option.fontMetrics.height() + 10)};
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
            chosen_(entry + first_);
    });
}

void ChoiceBox::display(const PopUpButton& control, std::int64_t recommended)
{
    if (shown_ != control.items() || recommended_ != recommended) {
        shown_ = control.items();
        recommended_ = recommended;
        first_ = control.pullsDown() ? 1 : 0;
        clear();
        texts_.clear();
        for (std::size_t item = static_cast<std::size_t>(first_); item < shown_.size(); ++item) {
            texts_.push_back(shownText(shown_[item].title));
            const QString& text = texts_.back().text;
            addItem(text);
            const bool isRecommended = std::cmp_equal(item, recommended);
            setItemData(count() - 1, isRecommended, recommendedRole);
            if (isRecommended)
                setItemData(count() - 1, text + ", " + recommendedText, Qt::AccessibleTextRole);
        }
    }
    setCurrentIndex(static_cast<int>(control.selectedIndex()) - first_);
    setEnabled(control.enabled());
}

QSize ChoiceBox::sizeHint() const
{
    return {leastWidth, std::max(leastHeight, fontMetrics().height() + 12)};
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
        painter.drawText(room, Qt::AlignVCenter | Qt::AlignRight, recommendedText);
        textRoom.setRight(
            room.right() - painter.fontMetrics().horizontalAdvance(recommendedText) - padding);
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
