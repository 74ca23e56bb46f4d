// SPDX-License-Identifier: MIT
#include "support/QmlWindow.h"

#include "support/Wait.h"

#include <QFontMetricsF>
#include <QImage>
#include <QQmlComponent>
#include <QQmlExpression>
#include <QQuickImageProvider>
#include <QRegularExpression>
#include <QtTest/QTest>

#include <gtest/gtest.h>

#include <memory>

namespace kavrin::test
{

namespace
{

/// Symbols that are all alike, squares in the colour asked for, for views whose test is not about symbols.
class SquareSymbols : public QQuickImageProvider
{
public:
    SquareSymbols() : QQuickImageProvider(Image) { }

    QImage requestImage(const QString &id, QSize *size, const QSize &requestedSize) override
    {
        QImage image(requestedSize.isValid() ? requestedSize : QSize(1, 1), QImage::Format_ARGB32);
        image.fill(QColor::fromString(u'#' + id.section(u'?', 1)));
        *size = image.size();
        return image;
    }
};

const char *const stackOfViews = R"(
import QtQuick
import QtQuick.Templates as T
import %1
T.StackView {
    LayoutMirroring.enabled: Qt.application.layoutDirection === Qt.RightToLeft
    LayoutMirroring.childrenInherit: true
    required property var properties
    focus: true
    Component { id: first; %2 { } }
    Component.onCompleted: push(first, properties, T.StackView.Immediate)
}
)";

void visit(QAccessibleInterface *interface, const std::function<bool(QAccessibleInterface *)> &visitor,
           bool &done)
{
    for (int index = 0; interface != nullptr && !done && index < interface->childCount(); ++index) {
        QAccessibleInterface *child = interface->child(index);
        if (child == nullptr || child->state().invisible) {
            continue;
        }
        done = visitor(child);
        visit(child, visitor, done);
    }
}

} // namespace

QmlWindow::QmlWindow(const QString &module, const QString &type, const QVariantMap &properties, QSize size)
{
    QObject::connect(m_view.engine(), &QQmlEngine::warnings, m_view.engine(),
                     [this](const QList<QQmlError> &warnings) {
                         for (const QQmlError &warning : warnings) {
                             m_warnings.append(warning.toString());
                         }
                     });
    m_view.engine()->addImportPath(QStringLiteral("qrc:/qt/qml"));
    m_view.engine()->addImageProvider(QStringLiteral("symbol"), new SquareSymbols);
    m_view.setResizeMode(QQuickView::SizeRootObjectToView);
    m_view.resize(size);
    auto *component = new QQmlComponent(m_view.engine(), m_view.engine());
    component->setData(QString::fromLatin1(stackOfViews).arg(module, type).toUtf8(), QUrl());
    if (!component->isReady()) {
        qFatal("%s", qPrintable(component->errorString()));
    }
    auto *stack = component->createWithInitialProperties({{QStringLiteral("properties"), properties}});
    m_view.setContent(QUrl(), component, stack);
    m_view.show();
    m_view.requestActivate();
    EXPECT_TRUE(waitUntil([this] { return m_view.isExposed() && m_view.isActive(); }));
}

QmlWindow::~QmlWindow()
{
    // Qt's software renderer frees pictures that are gone with the next frame only, and never at its end.
    delete m_view.rootObject();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete); // also those of pages that were left
    m_view.releaseResources();
    m_view.grabWindow();
    EXPECT_EQ(m_warnings, QStringList());
}

QQuickItem *QmlWindow::root() const
{
    QQuickItem *first = nullptr;
    QMetaObject::invokeMethod(m_view.rootObject(), "get", Q_RETURN_ARG(QQuickItem *, first), Q_ARG(int, 0));
    return first;
}

QQuickItem *QmlWindow::top() const
{
    return m_view.rootObject()->property("currentItem").value<QQuickItem *>();
}

QAccessibleInterface *QmlWindow::topInterface() const
{
    QAccessibleInterface *interface = QAccessible::queryAccessibleInterface(top());
    return interface ? interface : QAccessible::queryAccessibleInterface(m_view.rootObject()->window());
}

QAccessibleInterface *QmlWindow::find(const QString &name, QAccessible::Role role) const
{
    QAccessibleInterface *found = nullptr;
    bool done = false;
    visit(
        topInterface(),
        [&](QAccessibleInterface *interface) {
            if (interface->text(QAccessible::Name) == name
                && (role == QAccessible::NoRole || interface->role() == role)) {
                found = interface;
            }
            return found != nullptr;
        },
        done);
    return found;
}

QQuickItem *QmlWindow::item(const QString &name) const
{
    QAccessibleInterface *interface = find(name);
    return interface != nullptr ? qobject_cast<QQuickItem *>(interface->object()) : nullptr;
}

namespace
{

/// All items that are shown in this one, itself included, those above others last.
QList<QQuickItem *> itemsShownIn(QQuickItem *item)
{
    QList<QQuickItem *> items = {item};
    for (qsizetype index = 0; index < items.size(); ++index) {
        for (QQuickItem *child : items[index]->childItems()) {
            if (child->isVisible()) {
                items.append(child);
            }
        }
    }
    return items;
}

} // namespace

QList<QQuickItem *> QmlWindow::items() const
{
    return itemsShownIn(top());
}

QStringList QmlWindow::brokenWords() const
{
    static const QRegularExpression gap(QStringLiteral("[\\s-]"));
    static const QRegularExpression address(QStringLiteral("\\w\\.\\w"));
    QStringList broken;
    for (const QQuickItem *item : itemsShownIn(m_view.contentItem())) {
        if (!item->inherits("QQuickText")) {
            continue;
        }
        const QFontMetricsF metrics(item->property("font").value<QFont>());
        for (const QString &word : item->property("text").toString().split(gap)) {
            if (metrics.horizontalAdvance(word) > item->width() + 1 && !word.contains(address)) {
                broken.append(word);
            }
        }
    }
    return broken;
}

QObject *QmlWindow::theme()
{
    QQmlComponent component(m_view.engine());
    component.setData(
        "import QtQml; import Kavrin.Theme; QtObject { readonly property QtObject theme: Theme }", QUrl());
    const std::unique_ptr<QObject> holder(component.create());
    return holder->property("theme").value<QObject *>();
}

QStringList QmlWindow::names() const
{
    QStringList names;
    bool done = false;
    visit(
        topInterface(),
        [&](QAccessibleInterface *interface) {
            const QString name = interface->text(QAccessible::Name);
            if (!name.isEmpty()) {
                names.append(name);
            }
            return false;
        },
        done);
    return names;
}

void QmlWindow::click(const QString &name)
{
    QQuickItem *found = item(name);
    ASSERT_TRUE(found != nullptr) << "nothing is called " << qPrintable(name) << "; there are "
                                  << qPrintable(names().join(QStringLiteral(", ")));
    click(found);
}

void QmlWindow::click(QQuickItem *item)
{
    m_view.grabWindow(); // lays out what has just appeared
    for (QQuickItem *page = item; page != nullptr; page = page->parentItem()) {
        if (page->metaObject()->indexOfMethod("show(QQuickItem*)") >= 0) {
            QMetaObject::invokeMethod(page, "show", Q_ARG(QQuickItem *, item));
        }
    }
    const QPointF middle = item->mapToScene(QPointF(item->width() / 2, item->height() / 2));
    QTest::mouseClick(&m_view, Qt::LeftButton, Qt::NoModifier, middle.toPoint());
}

void QmlWindow::goBack()
{
    QQmlExpression(qmlContext(m_view.rootObject()), m_view.rootObject(), QStringLiteral("pop()")).evaluate();
}

void QmlWindow::press(Qt::Key key, Qt::KeyboardModifiers modifiers)
{
    QTest::keyClick(&m_view, key, modifiers);
}

void QmlWindow::type(const QString &text)
{
    for (const QChar character : text) {
        QTest::keyClick(&m_view, character.toLatin1());
    }
}

} // namespace kavrin::test
