#include "ui/TranslateView.h"

#include "capture/Localization.h"
#include "ui/AMShapedButton.h"

#include <QAbstractButton>
#include <QLabel>
#include <QLineEdit>
#include <QTextDocumentFragment>

namespace Tolm::Ui {

namespace {

const QLatin1String kKeyPrefix("IDS_");

QString PlainLocalized(const QString& key)
{
    const QString text = Localized(key);
    return Qt::mightBeRichText(text) ? QTextDocumentFragment::fromHtml(text).toPlainText() : text;
}

void TranslateLabel(QLabel* label)
{
    const QString key = label->text();
    if (!key.startsWith(kKeyPrefix))
        return;
    const QString text = Localized(key);
    if (!Qt::mightBeRichText(text))
        return;
    label->setTextFormat(Qt::RichText);
    label->setText(text);
}

void TranslateLineEdit(QLineEdit* edit)
{
    if (edit->text().startsWith(kKeyPrefix))
        edit->setText(PlainLocalized(edit->text()));
    if (edit->placeholderText().startsWith(kKeyPrefix))
        edit->setPlaceholderText(PlainLocalized(edit->placeholderText()));
}

} // namespace

void TranslateView(QWidget* view)
{
    if (!view)
        return;
    // Indexed, and the count read again each step, so the walk follows changes.
    for (qsizetype i = 0; i < view->children().size(); ++i) {
        auto* subview = qobject_cast<QWidget*>(view->children().at(i));
        if (!subview)
            continue;
        if (auto* label = qobject_cast<QLabel*>(subview)) {
            TranslateLabel(label);
            continue;
        }
        if (auto* edit = qobject_cast<QLineEdit*>(subview)) {
            TranslateLineEdit(edit);
            continue;
        }
        // Check boxes carry their own title; image buttons localise their captions themselves.
        auto* button = qobject_cast<QAbstractButton*>(subview);
        if (button && !qobject_cast<AMShapedButton*>(button) && button->text().startsWith(kKeyPrefix))
            button->setText(PlainLocalized(button->text()));
        TranslateView(subview);
    }
}

} // namespace Tolm::Ui
