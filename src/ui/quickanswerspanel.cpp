#include "ui/quickanswerspanel.h"

#include "ui/messageboxprompts.h"

#include <QHBoxLayout>
#include <QInputDialog>
#include <QLabel>
#include <QListWidget>
#include <QMenu>
#include <QPushButton>
#include <QToolButton>
#include <QVBoxLayout>

QuickAnswersPanel::QuickAnswersPanel(QWidget *parent)
    : QFrame(parent)
    , m_empty(new QLabel(tr("Нет подходящих быстрых ответов"), this))
    , m_list(new QListWidget(this))
    , m_edit(new QPushButton(tr("Изменить"), this))
    , m_delete(new QPushButton(tr("Удалить"), this))
    , m_save(new QToolButton(this))
{
    setObjectName(QStringLiteral("frame_quickAnswers"));
    m_empty->setObjectName(QStringLiteral("label_quickAnswers_empty"));
    m_list->setObjectName(QStringLiteral("listWidget_quickAnswers"));
    m_edit->setObjectName(QStringLiteral("pushButton_quickAnswers_edit"));
    m_delete->setObjectName(QStringLiteral("pushButton_quickAnswers_delete"));
    m_save->setObjectName(QStringLiteral("toolButton_quickAnswers_save"));
    auto *title = new QLabel(tr("Быстрые ответы"), this);
    title->setObjectName(QStringLiteral("label_quickAnswers_title"));
    setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Maximum);
    m_list->setFocusPolicy(Qt::NoFocus);
    m_list->setUniformItemSizes(true);
    m_save->setText(tr("Сохранить текст"));
    m_save->setPopupMode(QToolButton::InstantPopup);
    auto *menu = new QMenu(m_save);
    m_save->setMenu(menu);
    for (QPushButton *button : {m_edit, m_delete})
        button->setCursor(Qt::PointingHandCursor);

    auto *footer = new QHBoxLayout;
    footer->setContentsMargins(0, 0, 0, 0);
    footer->addWidget(m_edit);
    footer->addWidget(m_delete);
    footer->addStretch();
    footer->addWidget(m_save);
    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(12, 8, 12, 8);
    layout->setSpacing(6);
    layout->addWidget(title);
    layout->addWidget(m_list);
    layout->addWidget(m_empty);
    layout->addLayout(footer);

    connect(m_list, &QListWidget::itemClicked, this, [this](QListWidgetItem *item) {
        emit chosen(item->data(Qt::UserRole + 1).toString());
    });
    connect(m_list, &QListWidget::currentRowChanged, this, [this] {
        m_edit->setEnabled(currentId() != 0);
        m_delete->setEnabled(currentId() != 0);
    });
    connect(m_edit, &QPushButton::clicked, this, [this] {
        const qint64 id = currentId();
        bool ok = false;
        const QString text = QInputDialog::getMultiLineText(this,
                                                            tr("Изменение быстрого ответа"),
                                                            tr("Текст ответа:"),
                                                            currentText(),
                                                            &ok);
        if (!ok || id == 0)
            return;
        if (text.trimmed().isEmpty()) {
            MessageBoxPrompts::inform(this,
                                      tr("Изменение быстрого ответа"),
                                      tr("Ответ не может быть пустым."));
            return;
        }
        emit editRequested(id, text.trimmed());
    });
    connect(m_delete, &QPushButton::clicked, this, [this] {
        const qint64 id = currentId();
        MessageBoxPrompts prompts;
        if (id != 0
            && prompts.askYesNo(this, tr("Удаление быстрого ответа"), tr("Удалить этот ответ?")))
            emit deleteRequested(id);
    });
    setSaveText(QString());
    refill();
}

void QuickAnswersPanel::setAnswers(const QList<FirebaseQuickAnswer> &answers)
{
    m_answers = answers;
    refill();
}

void QuickAnswersPanel::setFilter(const QString &filter)
{
    if (filter == m_filter)
        return;
    m_filter = filter;
    refill();
}

void QuickAnswersPanel::setLastHost(const QString &host)
{
    m_host = host;
    setSaveText(m_save->property("text_to_save").toString());
}

void QuickAnswersPanel::setSaveText(const QString &text)
{
    m_save->setProperty("text_to_save", text);
    QMenu *menu = m_save->menu();
    menu->clear();
    menu->addAction(tr("Сохранить для всех сайтов"), this, [this] { emit saveRequested(0); });
    QAction *site
        = menu->addAction(tr("Сохранить для %1").arg(m_host.isEmpty() ? tr("сайта") : m_host),
                          this,
                          [this] { emit saveRequested(1); });
    site->setEnabled(!m_host.isEmpty());
    menu->addAction(tr("Сохранить для меня"), this, [this] { emit saveRequested(2); });
    const bool can = !text.trimmed().isEmpty();
    m_save->setEnabled(can);
    m_save->setToolTip(can ? tr("Сохранить текст из поля ввода как быстрый ответ")
                           : tr("Напишите текст в поле ввода, чтобы сохранить его как ответ"));
}

void QuickAnswersPanel::refill()
{
    m_list->clear();
    for (const FirebaseQuickAnswer &answer : qAsConst(m_answers)) {
        if (!m_filter.isEmpty() && !answer.getText().contains(m_filter, Qt::CaseInsensitive))
            continue;
        QString line = answer.getText();
        line.replace(QLatin1Char('\n'), QLatin1Char(' '));
        auto *item = new QListWidgetItem(line, m_list);
        item->setData(Qt::UserRole, answer.getId());
        item->setData(Qt::UserRole + 1, answer.getText());
        item->setToolTip(answer.getText());
    }
    m_list->setCurrentRow(m_list->count() > 0 ? 0 : -1);
    // As tall as its rows, up to five; more scroll.
    const int rowHeight = m_list->count() > 0 ? m_list->sizeHintForRow(0) : 0;
    m_list->setFixedHeight(qMin(m_list->count(), 5) * rowHeight + 2 * m_list->frameWidth() + 2);
    m_list->setVisible(m_list->count() > 0);
    m_empty->setVisible(m_list->count() == 0);
    m_edit->setEnabled(currentId() != 0);
    m_delete->setEnabled(currentId() != 0);
}

void QuickAnswersPanel::moveSelection(int delta)
{
    if (m_list->count() == 0)
        return;
    const int row = qBound(0, m_list->currentRow() + delta, m_list->count() - 1);
    m_list->setCurrentRow(row);
    m_list->scrollToItem(m_list->currentItem());
}

QString QuickAnswersPanel::currentText() const
{
    const QListWidgetItem *item = m_list->currentItem();
    return item ? item->data(Qt::UserRole + 1).toString() : QString();
}

qint64 QuickAnswersPanel::currentId() const
{
    const QListWidgetItem *item = m_list->currentItem();
    return item ? item->data(Qt::UserRole).toLongLong() : 0;
}

QStringList QuickAnswersPanel::shownTexts() const
{
    QStringList texts;
    for (int i = 0; i < m_list->count(); ++i)
        texts << m_list->item(i)->data(Qt::UserRole + 1).toString();
    return texts;
}
