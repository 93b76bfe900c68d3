#include "IconSet/IconFile.h"

#include <fmt/format.h>

#include <QBuffer>
#include <QDir>
#include <QGuiApplication>
#include <QImage>
#include <QPainter>
#include <QSaveFile>
#include <QSvgRenderer>
#include <array>
#include <cstdio>
#include <map>

namespace {

constexpr std::array sizes{16, 22, 24, 32, 48, 64, 128, 256, 512, 1024};

/// The types of an .icns file that hold PNGs, and their width in pixels.
constexpr std::array<std::pair<std::string_view, int>, 10> types{{{"icp4", 16},
                                                                  {"icp5", 32},
                                                                  {"ic11", 32},
                                                                  {"ic12", 64},
                                                                  {"ic07", 128},
                                                                  {"ic13", 256},
                                                                  {"ic08", 256},
                                                                  {"ic14", 512},
                                                                  {"ic09", 512},
                                                                  {"ic10", 1024}}};

QByteArray render(QSvgRenderer& drawing, int side) {
    QImage image(side, side, QImage::Format_ARGB32);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    drawing.render(&painter);
    painter.end();
    QByteArray png;
    QBuffer buffer(&png);
    image.save(&buffer, "PNG");
    return png;
}

bool write(const QString& path, const QByteArray& content) {
    QDir().mkpath(QFileInfo(path).path());
    QSaveFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(content) == content.size() && file.commit();
}

} // namespace

/// Renders the icon set from one drawing: PNGs in the folders of an icon theme, and AppIcon.icns.
int main(int count, char** values) {
    const QGuiApplication application(count, values);
    if (count != 3) {
        fmt::print(stderr, "tavo-icons: name the drawing and a folder to write to.\n");
        return 64;
    }
    QSvgRenderer drawing(QString::fromLocal8Bit(values[1]));
    if (!drawing.isValid()) {
        fmt::print(stderr, "tavo-icons: {} is not a drawing.\n", values[1]);
        return 1;
    }
    const auto folder = QString::fromLocal8Bit(values[2]);
    std::map<int, QByteArray> pictures;
    for (const int side : sizes) {
        pictures[side] = render(drawing, side);
        const auto file = QStringLiteral("%1/hicolor/%2x%2/apps/com.vrd.tavo.png").arg(folder).arg(side);
        if (!write(file, pictures[side])) {
            fmt::print(stderr, "tavo-icons: could not write {}.\n", file.toStdString());
            return 1;
        }
    }
    std::vector<std::pair<std::string_view, std::string>> entries;
    for (const auto& [type, side] : types) {
        entries.emplace_back(type, pictures.at(side).toStdString());
    }
    const auto icns = tavo::icnsFile(entries);
    if (!write(folder + QStringLiteral("/AppIcon.icns"), QByteArray::fromStdString(icns))) {
        fmt::print(stderr, "tavo-icons: could not write AppIcon.icns.\n");
        return 1;
    }
    return 0;
}
