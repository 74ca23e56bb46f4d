// SPDX-License-Identifier: MIT
#pragma once

#include "platform/PlatformText.h"
#include "store/Prefs.h"

#include <QCoroTask>
#include <QObject>
#include <QVariantList>
#include <QtQml/qqmlregistration.h>

namespace kavrin
{

/// One item of the catalogue as a row shows it, in the platform's words. Reads through Prefs, and stores
/// every change at once. Main thread only.
class SettingModel : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("A page makes its own.")

    Q_PROPERTY(QString key READ key CONSTANT)
    Q_PROPERTY(QString title READ title CONSTANT)
    Q_PROPERTY(QString footer READ footer CONSTANT)
    Q_PROPERTY(Kind kind READ kind CONSTANT)
    Q_PROPERTY(bool visible READ isVisible NOTIFY visibleChanged)
    Q_PROPERTY(int tick READ tick NOTIFY ticked)
    Q_PROPERTY(QString note READ note WRITE setNote NOTIFY noteChanged)
    Q_PROPERTY(QString problem READ problem WRITE setProblem NOTIFY problemChanged)
    Q_PROPERTY(bool held READ isHeld WRITE setHeld NOTIFY heldChanged)

    Q_PROPERTY(bool on READ isOn WRITE setOn NOTIFY ticked)

    Q_PROPERTY(double number READ number WRITE setNumber NOTIFY ticked)
    Q_PROPERTY(QString numberText READ numberText NOTIFY ticked)
    Q_PROPERTY(double defaultNumber READ defaultNumber CONSTANT)
    Q_PROPERTY(double lower READ lower CONSTANT)
    Q_PROPERTY(double upper READ upper CONSTANT)
    Q_PROPERTY(double step READ step CONSTANT)

    Q_PROPERTY(QString text READ text WRITE setText NOTIFY textChanged)
    Q_PROPERTY(bool secret READ isSecret CONSTANT)

    Q_PROPERTY(QVariantList options READ options CONSTANT)
    Q_PROPERTY(int optionIndex READ optionIndex WRITE setOptionIndex NOTIFY ticked)

    Q_PROPERTY(QString action READ action CONSTANT)

    Q_PROPERTY(bool isDefault READ isDefault NOTIFY ticked)
    Q_PROPERTY(QString defaultText READ defaultText CONSTANT)

public:
    /// In the order of catalogue::Kind.
    enum class Kind { Toggle, Slider, Choice, Text, Action };
    Q_ENUM(Kind)

    explicit SettingModel(Prefs::Item item, QObject *parent = nullptr);

    [[nodiscard]] QString key() const { return m_item.key; }
    [[nodiscard]] QString title() const { return platformText(m_item.title); }

    /// Empty if the item has none.
    [[nodiscard]] QString footer() const { return platformText(m_item.footer.value_or(QString())); }

    [[nodiscard]] Kind kind() const { return Kind(m_item.kind.index()); }
    [[nodiscard]] bool isVisible() const { return m_visible; }

    /// How often the row has read its value again.
    [[nodiscard]] int tick() const { return m_tick; }

    /// What an action has done.
    [[nodiscard]] QString note() const { return m_note; }
    void setNote(const QString &note);

    /// Why an action or a change has failed: the last one, or one made on a page that was closed before its
    /// outcome was known.
    [[nodiscard]] QString problem() const { return m_problem; }
    void setProblem(const QString &problem);

    /// Whether the user types in the field or drags the slider.
    [[nodiscard]] bool isHeld() const { return m_isHeld; }
    void setHeld(bool held);

    /// Reads value and visibility again; those of a control that is held when the user lets go of it.
    Q_INVOKABLE void refresh();

    /// Stores what a slider's number was when the user took hold of it, or that there was none.
    Q_INVOKABLE void takeBack();

    // A toggle.
    [[nodiscard]] bool isOn() const;
    void setOn(bool on);

    // A slider. The stored number is the nearest step.
    [[nodiscard]] double number() const;
    void setNumber(double number);
    [[nodiscard]] QString numberText() const;
    [[nodiscard]] double defaultNumber() const;
    [[nodiscard]] double lower() const;
    [[nodiscard]] double upper() const;
    [[nodiscard]] double step() const;

    // A line of text: line breaks are left out. A secret is stored without white space around it.
    [[nodiscard]] QString text() const;
    void setText(const QString &text);
    [[nodiscard]] bool isSecret() const;

    // A choice: its options as {v, t}, and the index of the chosen one, or -1 if none is chosen.
    [[nodiscard]] QVariantList options() const;
    [[nodiscard]] int optionIndex() const;
    void setOptionIndex(int index);

    /// The identifier of an action.
    [[nodiscard]] QString action() const;

    /// Whether the value is its default. Always true where there is no default to go back to: of actions,
    /// secrets, and texts that are empty at first.
    [[nodiscard]] bool isDefault() const;

    /// The default in words: "54 pt", "on", an option's label.
    [[nodiscard]] QString defaultText() const;

    /// Stores the default.
    Q_INVOKABLE void restoreDefault();

Q_SIGNALS:
    void ticked();
    void textChanged();
    void visibleChanged();
    void noteChanged();
    void problemChanged();
    void heldChanged();

    /// The change may show or hide other rows.
    void changed();

private:
    void store(const std::optional<PropertyListValue> &value);
    QCoro::Task<> showOutcome(QFuture<std::optional<Error>> written);
    [[nodiscard]] PropertyListValue entered(const QString &line) const;
    void showValue();
    void reread();

    Prefs::Item m_item;
    bool m_visible;
    int m_tick = 0;
    int m_changes = 0; ///< how often the user has changed the value
    QString m_note;
    QString m_problem;
    bool m_isHeld = false;
    bool m_isBehind = false; ///< whether it was to read again while it was held
    std::optional<PropertyListValue> m_valueAtPress; ///< of a slider, as it was stored
    /// The field keeps a text that is not stored yet, or could not be stored: no other copy of it may exist.
    std::optional<QString> m_unsavedText;
};

} // namespace kavrin
