#pragma once

#include "app/views/ElidedLabel.h"
#include "app/views/Symbol.h"

#include <QString>
#include <QWidget>

namespace tavo {

/// A row of a section: symbol, title, detail, and at the end a control, which takes its accessible name from the title.
class SettingsControlRow : public QWidget {
public:
    SettingsControlRow(const QString& systemImage, const QString& title, QWidget* control, QWidget* parent = nullptr);

    /// Nothing is shown for an empty detail.
    void setDetail(const QString& detail);
    QString title() const { return titleLabel->text(); }
    QString detail() const { return detailLabel->text(); }

    /// Whether there is a checkmark behind the title.
    void setShowsLabelCheckmark(bool isShown);
    bool showsLabelCheckmark() const { return !checkmark->isHidden(); }

protected:
    void changeEvent(QEvent* event) override;

private:
    void applyFonts();

    SymbolView* symbol;
    ElidedLabel* titleLabel;
    ElidedLabel* detailLabel;
    SymbolView* checkmark;
    QWidget* control;
};

} // namespace tavo
