#include "Screenshots/Pictures.h"

#include "app/views/PanelWindow.h"
#include "app/views/TavoMenuBarIcon.h"
#include "app/views/TavoMenuBarView.h"
#include "app/views/TavoSettingsWindowController.h"
#include "app/views/Theme.h"
#include "views/Stage.h"

#include <QApplication>
#include <QImageWriter>
#include <QLinearGradient>
#include <QPainter>
#include <QPainterPath>
#include <stdexcept>

namespace tavo {

namespace {

constexpr int margin = 22;
constexpr int gap = 22;
constexpr int barHeight = 26;
constexpr int titleHeight = 30;
constexpr double frameRadius = 10;

/// The app in one state and one theme.
struct Shown {
    QPixmap window;
    QPixmap panel;

    /// Of the panel within its picture, which has its shadow around it.
    QRect panelRect;
};

Shown show(const Theme& theme) {
    QApplication::setPalette(theme.palette());
    Stage stage;
    stage.power->status = {.source = CurrentPowerSource::ac, .batteryPercent = 80, .isCharging = true};
    stage.table->processes = {{.pid = 7, .executableName = "claude", .commandLine = "claude"}};
    AppConfig config;
    config.isEnabled = true;
    config.trigger = defaultRule(TriggerPreset::claudeCode);
    stage.begin(config);

    TavoSettingsWindowController controller(*stage.observer, "computer", true);
    controller.showWindow();
    PanelWindow panel(Qt::Popup | Qt::FramelessWindowHint, [] { return true; });
    panel.setPanel(*new TavoMenuBarView(
        *stage.observer, [] {}, &panel));
    panel.prepareToShow();
    panel.show();
    QApplication::processEvents();
    return {.window = controller.window().grab(), .panel = panel.grab(), .panelRect = panel.panelRect()};
}

QSize sizeOf(const QPixmap& picture) {
    return picture.deviceIndependentSize().toSize();
}

/// The window with its frame, without the shadow.
QSize framedSize(const Shown& shown) {
    return sizeOf(shown.window) + QSize(0, titleHeight);
}

QImage canvas(const QSize& size, double ratio) {
    QImage image(size * ratio, QImage::Format_ARGB32_Premultiplied);
    image.setDevicePixelRatio(ratio);
    image.fill(Qt::transparent);
    return image;
}

/// The window in the plain frame of some desktop: a title bar with its name, and rounded corners.
QImage framed(const Shown& shown, const Theme& theme) {
    const QRect whole(QPoint(), framedSize(shown));
    auto image = canvas(whole.size(), shown.window.devicePixelRatio());
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.fillRect(whole, theme.window);
    const QRect title(0, 0, whole.width(), titleHeight);
    painter.setPen(theme.text);
    painter.setFont(Typography::emphasis(QApplication::font()));
    painter.drawText(title, Qt::AlignCenter, QStringLiteral("tavo"));
    painter.setPen(QPen(theme.secondaryText, 1.5, Qt::SolidLine, Qt::RoundCap));
    const QPointF cross(whole.width() - 20, titleHeight / 2.0);
    constexpr double arm = 4;
    painter.drawLine(cross - QPointF(arm, arm), cross + QPointF(arm, arm));
    painter.drawLine(cross - QPointF(arm, -arm), cross + QPointF(arm, -arm));
    painter.drawLine(cross - QPointF(28 + arm, 0), cross - QPointF(28 - arm, 0));
    painter.fillRect(0, titleHeight - 1, whole.width(), 1, theme.separator);
    painter.drawPixmap(0, titleHeight, shown.window);

    QPainterPath outline;
    outline.addRoundedRect(whole, frameRadius, frameRadius);
    auto mask = canvas(whole.size(), shown.window.devicePixelRatio());
    QPainter maskPainter(&mask);
    maskPainter.setRenderHint(QPainter::Antialiasing);
    maskPainter.fillPath(outline, Qt::black);
    maskPainter.end();
    painter.setCompositionMode(QPainter::CompositionMode_DestinationIn);
    painter.drawImage(0, 0, mask);
    return image;
}

void drawShadow(QPainter& painter, const QRectF& shape) {
    constexpr int reach = 26;
    constexpr int drop = 9;
    painter.setPen(Qt::NoPen);
    painter.setBrush(QColor(0, 0, 0, 4));
    for (int step = -reach / 2; step < reach / 2; ++step) {
        const auto layer = shape.translated(0, drop).adjusted(-step, -step, step, step);
        const double radius = std::max(frameRadius + step, 2.0);
        painter.drawRoundedRect(layer, radius, radius);
    }
}

void drawGround(QPainter& painter, const QRect& area, const Theme& theme) {
    QLinearGradient ground(area.topLeft(), area.bottomRight());
    ground.setColorAt(0, theme.isDark ? QColor(0x1B, 0x29, 0x4B) : QColor(0xA9, 0xC8, 0xFA));
    ground.setColorAt(0.55, theme.isDark ? QColor(0x43, 0x28, 0x4C) : QColor(0xEC, 0xC6, 0xDE));
    ground.setColorAt(1, theme.isDark ? QColor(0x5E, 0x2C, 0x2E) : QColor(0xFF, 0xD9, 0xAE));
    painter.fillRect(area, ground);
    // The desktop's own bar, with the icon that the panel belongs to.
    const QRect bar(area.topLeft(), QSize(area.width(), barHeight));
    painter.fillRect(bar, theme.isDark ? QColor(0, 0, 0, 90) : QColor(255, 255, 255, 110));
}

/// Draws a desktop with the panel below its bar, at the right edge, and with the window at a place of its own.
void drawDesktop(QPainter& painter, const QRect& area, const QPoint& windowPlace, const Shown& shown,
                 const Theme& theme) {
    painter.save();
    painter.setClipRect(area);
    drawGround(painter, area, theme);
    const QRect window(windowPlace, framedSize(shown));
    drawShadow(painter, window);
    painter.drawImage(window.topLeft(), framed(shown, theme));
    const QPoint panelPlace(area.right() + 1 - margin - shown.panelRect.width(), area.top() + barHeight + 8);
    painter.drawPixmap(panelPlace - shown.panelRect.topLeft(), shown.panel);
    const auto icon = TavoMenuBarIcon::pixmap(TavoMenuBarIcon::drawing,
                                              static_cast<int>(TavoMenuBarIcon::size * shown.panel.devicePixelRatio()),
                                              theme.text, TavoMenuBarIcon::heldOpacity);
    painter.drawPixmap(QRect(panelPlace.x() + shown.panelRect.width() - 40, area.top() + 4, TavoMenuBarIcon::size,
                             TavoMenuBarIcon::size),
                       icon);
    painter.restore();
}

void save(const QImage& image, const QDir& folder, const QString& name) {
    QImageWriter writer(folder.filePath(name + ".png"));
    writer.setCompression(100); // costs seconds, and saves a tenth
    if (!writer.write(image.convertToFormat(QImage::Format_RGB32))) {
        throw std::runtime_error("could not write " + writer.fileName().toStdString());
    }
}

/// The window on the left, the panel on the right.
void drawWide(const QDir& folder, const QString& name, const Shown& shown, const Theme& theme) {
    const auto window = framedSize(shown);
    const QRect area(0, 0, margin + window.width() + gap + shown.panelRect.width() + margin,
                     barHeight + 8 + window.height() + margin + 8);
    auto image = canvas(area.size(), shown.window.devicePixelRatio());
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    drawDesktop(painter, area, {margin, barHeight + 8}, shown, theme);
    painter.end();
    save(image, folder, name);
}

/// Light and dark side by side, each with the window below the panel.
void drawBoth(const QDir& folder, const QString& name, const Shown& light, const Shown& dark) {
    const auto window = framedSize(light);
    const int windowTop = barHeight + 8 + light.panelRect.height() + gap;
    const QSize half(margin + window.width() + margin, windowTop + window.height() + margin + 8);
    auto image = canvas({2 * half.width(), half.height()}, light.window.devicePixelRatio());
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    drawDesktop(painter, {{0, 0}, half}, {margin, windowTop}, light, Theme::light());
    drawDesktop(painter, {{half.width(), 0}, half}, {half.width() + margin, windowTop}, dark, Theme::dark());
    painter.end();
    save(image, folder, name);
}

} // namespace

int drawPictures(const QDir& folder) {
    const auto light = show(Theme::light());
    const auto dark = show(Theme::dark());
    drawBoth(folder, "tavo", light, dark);
    drawWide(folder, "desktop-light", light, Theme::light());
    drawWide(folder, "desktop-dark", dark, Theme::dark());
    return 3;
}

} // namespace tavo
