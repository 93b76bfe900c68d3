#include "app/views/Accessibility.h"

#include <QAccessible>
#include <QAccessibleObject>
#include <QAccessibleWidget>
#include <QApplication>
#include <QWidget>
#include <QWindow>

namespace tavo {

namespace {

/// Qt leaves popups out, since its own are lists and menus, which belong to the controls that opened them.
class ApplicationWithPanels final : public QAccessibleApplication {
public:
    int childCount() const override { return QAccessibleApplication::childCount() + static_cast<int>(panels().size()); }

    QAccessibleInterface* child(int index) const override {
        const int others = QAccessibleApplication::childCount();
        return index < others ? QAccessibleApplication::child(index) : panels().value(index - others);
    }

    int indexOfChild(const QAccessibleInterface* sought) const override {
        const auto place = panels().indexOf(sought);
        return place < 0 ? QAccessibleApplication::indexOfChild(sought)
                         : QAccessibleApplication::childCount() + static_cast<int>(place);
    }

private:
    /// Open popups without an owner.
    static QList<QAccessibleInterface*> panels() {
        QList<QAccessibleInterface*> found;
        for (auto* widget : QApplication::topLevelWidgets()) {
            if (widget->windowType() == Qt::Popup && widget->isVisible() && widget->parentWidget() == nullptr &&
                isPlain(*widget)) {
                found.append(QAccessible::queryAccessibleInterface(widget));
            }
        }
        return found;
    }

public:
    /// A window of this program, and not a menu, list or dialog of Qt.
    static bool isPlain(const QWidget& widget) { return widget.metaObject() == &QWidget::staticMetaObject; }
};

QAccessibleInterface* interfaceFor(const QString& className, QObject* object) {
    if (object == qApp) {
        return new ApplicationWithPanels;
    }
    if (className != QLatin1String("QWidget") || !object->isWidgetType()) {
        return nullptr;
    }
    auto* const widget = static_cast<QWidget*>(object);
    if (!widget->isWindow() || !ApplicationWithPanels::isPlain(*widget)) {
        return nullptr;
    }
    return new QAccessibleWidget(widget, QAccessible::Window);
}

} // namespace

void prepareAccessibility() {
    QAccessible::installFactory(interfaceFor);
}

} // namespace tavo
