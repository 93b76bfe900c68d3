#include "app/views/DrawnIcon.h"

#include <QCoreApplication>
#include <QIconEngine>
#include <QPainter>
#include <QTimer>
#include <algorithm>
#include <map>
#include <memory>
#include <utility>

namespace tavo {

namespace {

class DrawnIconEngine final : public QIconEngine {
public:
    DrawnIconEngine(std::vector<int> sides, std::function<QPixmap(int)> draw, QString name)
        : sides(std::move(sides)), draw(std::move(draw)), name(std::move(name)) {}

    void paint(QPainter* painter, const QRect& place, QIcon::Mode mode, QIcon::State state) override {
        const double ratio = painter->device() == nullptr ? 1.0 : painter->device()->devicePixelRatio();
        const auto size = place.size() * ratio;
        if (isAsDrawn(size, mode)) {
            painter->drawPixmap(place, picture(sideFor(size)));
        } else {
            pictureFor(size).paint(painter, place, Qt::AlignCenter, mode, state);
        }
    }
    QPixmap pixmap(const QSize& size, QIcon::Mode mode, QIcon::State state) override {
        return isAsDrawn(size, mode) ? picture(sideFor(size)) : pictureFor(size).pixmap(size, 1.0, mode, state);
    }
    QSize actualSize(const QSize& size, QIcon::Mode, QIcon::State) override {
        const int side = std::min({sideFor(size), size.width(), size.height()});
        return {side, side};
    }
    QList<QSize> availableSizes(QIcon::Mode, QIcon::State) override {
        QList<QSize> sizes;
        for (const int side : sides) {
            sizes.append({side, side});
        }
        return sizes;
    }
    QString iconName() override { return name; }
    bool isNull() override { return false; }
    QString key() const override { return QStringLiteral("tavo-drawn"); }
    QIconEngine* clone() const override { return new DrawnIconEngine(sides, draw, name); }

private:
    int sideFor(const QSize& size) const {
        const auto fitting = std::lower_bound(sides.begin(), sides.end(), std::max(size.width(), size.height()));
        return fitting == sides.end() ? sides.back() : *fitting;
    }

    /// Whether nothing is left to do to the picture. Qt's own icon would put a copy into a cache, for which the program
    /// wakes up half a minute later.
    bool isAsDrawn(const QSize& size, QIcon::Mode mode) const {
        const int side = sideFor(size);
        return mode == QIcon::Normal && size == QSize(side, side);
    }

    const QPixmap& picture(int side) {
        if (const auto found = kept->find(side); found != kept->end()) {
            return found->second;
        }
        if (kept->empty()) {
            // Qt asks for a window's icon several times in a row, and then no more for hours. A timer of no time at all
            // would be due before other posted work.
            QTimer::singleShot(1, qApp, [weakKept = std::weak_ptr(kept)] {
                if (const auto strongKept = weakKept.lock()) {
                    strongKept->clear();
                }
            });
        }
        return kept->emplace(side, draw(side)).first->second;
    }

    /// Qt's own icon with this one picture, which scales it and greys it out.
    QIcon pictureFor(const QSize& size) { return picture(sideFor(size)); }

    std::vector<int> sides;
    std::function<QPixmap(int)> draw;
    QString name;
    std::shared_ptr<std::map<int, QPixmap>> kept = std::make_shared<std::map<int, QPixmap>>();
};

} // namespace

QIcon drawnIcon(std::vector<int> sides, std::function<QPixmap(int side)> draw, const QString& name) {
    return QIcon(new DrawnIconEngine(std::move(sides), std::move(draw), name));
}

} // namespace tavo
