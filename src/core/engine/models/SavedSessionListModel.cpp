#include "engine/models/SavedSessionListModel.h"

#include "text/UiText.h"

#include <QLocale>

using namespace Qt::StringLiterals;

namespace vesnara {

SavedSessionListModel::SavedSessionListModel(QObject* parent)
    : KeyedListModel(parent) {}

QString SavedSessionListModel::sessionLabel(const SavedSessionListItem& item) {
    static const QLocale finnish(QLocale::Finnish, QLocale::Finland);
    const QString endedAt =
        finnish.toString(item.endedAt.toDateTime().toLocalTime(), u"dd.MM.yyyy HH:mm"_s);
    return UiText::sessionHistoryLabel(endedAt, item.sttModel, item.segmentCount);
}

QVariant SavedSessionListModel::data(const QModelIndex& index, int role) const {
    const SavedSessionListItem* item = itemAt(index);
    if (!item)
        return {};
    switch (role) {
    case IdRole:
        return item->id;
    case EndedAtRole:
        return item->endedAt.toDateTime();
    case LanguageRole:
        return item->language;
    case SttModelRole:
        return item->sttModel;
    case SegmentCountRole:
        return item->segmentCount;
    case Qt::DisplayRole:
    case SessionLabelRole:
        return sessionLabel(*item);
    case RowDescriptionRole:
        return UiText::mainSessionRowDescription(sessionLabel(*item));
    default:
        return {};
    }
}

QHash<int, QByteArray> SavedSessionListModel::roleNames() const {
    return {
        {IdRole, "id"},
        {EndedAtRole, "endedAt"},
        {LanguageRole, "language"},
        {SttModelRole, "sttModel"},
        {SegmentCountRole, "segmentCount"},
        {SessionLabelRole, "sessionLabel"},
        {RowDescriptionRole, "rowDescription"},
    };
}

} // namespace vesnara
