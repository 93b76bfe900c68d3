#include "app/views/PanelWindow.h"

#include "app/views/PlatformWindow.h"
#include "app/views/TavoWindowGlassBackground.h"
#include "app/views/Theme.h"

#include <QMouseEvent>
#include <QPainter>
#include <QPainterPath>
#include <QVBoxLayout>
#include <utility>

namespace tavo {

namespace {

constexpr double cornerRadius = 12.0;
constexpr int shadowReach = 22;
constexpr int shadowDrop = 7;
constexpr double shadowOpacity = 0.3;
const QMargins shadowMargins(shadowReach, shadowReach - shadowDrop, shadowReach, shadowReach + shadowDrop);

/// Faint layers on top of each other, fading outwards; none below the panel itself, which may be translucent.
void paintShadow(QPainter& painter, const QRectF& shape, const QRect& whole) {
    QPainterPath panel;
    panel.addRoundedRect(shape, cornerRadius, cornerRadius);
    QPainterPath outside;
    outside.addRect(whole);
    painter.save();
    painter.setClipPath(outside - panel);
    painter.setPen(Qt::NoPen);
    constexpr double layers = shadowReach * (shadowReach + 1) / 2.0;
    for (int step = shadowReach; step > 0; --step) {
        const double share = (shadowReach + 1 - step) / layers;
        painter.setBrush(QColor::fromRgbF(0, 0, 0, static_cast<float>(shadowOpacity * share)));
        const double reach = step - shadowReach / 2.0;
        const auto layer = shape.translated(0, shadowDrop).adjusted(-reach, -reach, reach, reach);
        painter.drawRoundedRect(layer, cornerRadius + reach, cornerRadius + reach);
    }
    painter.restore();
}

} // namespace

PanelWindow::PanelWindow(Qt::WindowFlags flags, std::function<bool()> isComposited)
    : QWidget(nullptr, flags), isComposited(std::move(isComposited)) {
    if (flags.testFlag(Qt::FramelessWindowHint)) {
        setAttribute(Qt::WA_TranslucentBackground);
    }
}

void PanelWindow::setPanel(QWidget& newPanel) {
    panel = &newPanel;
    auto* const box = new QVBoxLayout(this);
    box->setContentsMargins(0, 0, 0, 0);
    box->setSizeConstraint(QLayout::SetFixedSize);
    box->addWidget(panel);
}

void PanelWindow::prepareToShow() {
    hasGlass = windowFlags().testFlag(Qt::FramelessWindowHint) && isComposited();
    layout()->setContentsMargins(hasGlass && !windowSystemDrawsShadows() ? shadowMargins : QMargins());
    layout()->activate();
    adjustSize();
}

QRect PanelWindow::panelRect() const {
    return rect().marginsRemoved(layout()->contentsMargins());
}

void PanelWindow::mousePressEvent(QMouseEvent* event) {
    if (panelRect().contains(event->position().toPoint())) {
        QWidget::mousePressEvent(event);
    } else {
        close();
    }
}

void PanelWindow::paintEvent(QPaintEvent*) {
    const auto& theme = Theme::of(palette());
    const QRectF shape(panelRect());
    QPainter painter(this);
    painter.setBrush(TavoGlassTint::of(palette(), hasGlass));
    // The window below may have the same colour.
    painter.setPen(theme.cardBorder);
    if (!hasGlass) {
        painter.drawRect(shape.adjusted(0, 0, -1, -1));
        return;
    }
    painter.setRenderHint(QPainter::Antialiasing);
    if (!windowSystemDrawsShadows()) {
        paintShadow(painter, shape, rect());
    }
    painter.drawRoundedRect(shape.adjusted(0.5, 0.5, -0.5, -0.5), cornerRadius, cornerRadius);
}

} // namespace tavo
