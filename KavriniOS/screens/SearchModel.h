// SPDX-License-Identifier: MIT
#pragma once

#include <QObject>
#include <QVariantList>
#include <QtQml/qqmlregistration.h>

namespace kavrin
{

/// What the user searches for, and what was found: pages, and rows that are visible now. Main thread only.
class SearchModel : public QObject
{
    Q_OBJECT
    QML_ELEMENT

    Q_PROPERTY(QString text READ text WRITE setText NOTIFY textChanged)
    Q_PROPERTY(QVariantList results READ results NOTIFY textChanged)

public:
    using QObject::QObject;

    [[nodiscard]] QString text() const { return m_text; }
    void setText(const QString &text);

    /// The best first, each as {page, key, title, where}: the page's id, the row's key or "", and what to
    /// show. `where` is the page's title, with that of the section; "" for a page.
    [[nodiscard]] QVariantList results() const { return m_results; }

Q_SIGNALS:
    void textChanged();

private:
    QString m_text;
    QVariantList m_results;
};

} // namespace kavrin
