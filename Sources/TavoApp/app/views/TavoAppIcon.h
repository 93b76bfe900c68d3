#pragma once

#include <QIcon>
#include <QString>

namespace tavo {

/// The application's icon.
struct TavoAppIcon {
    /// The drawing that is part of the program.
    static constexpr const char* drawing = ":/tavo/app-icon.svg";

    /// Built once: the bundle's own file where there is a bundle, and otherwise the drawing that is part of the program. An
    /// empty icon when neither can be read.
    static const QIcon& image();

    /// @param bundleFile   of an application bundle; tried first.
    /// @param drawingFile  tried next.
    static QIcon load(const QString& bundleFile, const QString& drawingFile);
};

} // namespace tavo
