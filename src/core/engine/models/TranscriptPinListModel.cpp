#include "engine/models/TranscriptPinListModel.h"

#include "model/TranscriptPinKind.h"
#include "text/UiText.h"

#include <algorithm>

using namespace Qt::StringLiterals;

namespace vesnara {

namespace {

void sortPinsByTime(QList<TranscriptPin>& pins) {
    std::stable_sort(pins.begin(), pins.end(), [](const TranscriptPin& a, const TranscriptPin& b) {
        return a.timestamp < b.timestamp;
    });
}

QString pinIdText(const QUuid& id) {
    return id.toString(QUuid::WithoutBraces).toUpper();
}

QString displayTitle(const TranscriptPin& pin) {
    const QString trimmed = pin.label.trimmed();
    return trimmed.isEmpty() ? label(pin.kind) : trimmed;
}

} // namespace

TranscriptPinListModel::TranscriptPinListModel(QObject* parent)
    : KeyedListModel(parent) {}

QVariant TranscriptPinListModel::data(const QModelIndex& index, int role) const {
    const TranscriptPin* pin = itemAt(index);
    if (!pin)
        return {};
    switch (role) {
    case IdRole:
        return pinIdText(pin->id);
    case TimestampRole:
        return pin->timestamp.toDateTime();
    case CreatedAtRole:
        return pin->createdAt.toDateTime();
    case TimeLabelRole:
        return pin->timestamp.clockText();
    case LabelRole:
        return pin->label;
    case NoteRole:
        return pin->note;
    case KindRole:
        return static_cast<int>(pin->kind);
    case KindLabelRole:
        return label(pin->kind);
    case KindShortLabelRole:
        return shortLabel(pin->kind);
    case IconNameRole:
        return iconName(pin->kind);
    case Qt::DisplayRole:
    case PinDisplayTitleRole:
        return displayTitle(*pin);
    case HasNoteRole:
        return !pin->note.trimmed().isEmpty();
    case LinkedSegmentIdRole:
        return pin->linkedSegmentId ? pin->linkedSegmentId->toString(QUuid::WithoutBraces)
                                    : QString();
    case IsSelectedRole:
        return m_selectedPinId == pin->id;
    case IsHighlightedRole:
        return m_highlightedPinId == pin->id;
    case IsActiveRole:
        return m_selectedPinId == pin->id || m_highlightedPinId == pin->id;
    case RowDescriptionRole:
        return UiText::mainPinRowDescription(displayTitle(*pin), pin->timestamp.clockText());
    default:
        return {};
    }
}

QHash<int, QByteArray> TranscriptPinListModel::roleNames() const {
    return {
        {IdRole, "id"},
        {TimestampRole, "timestamp"},
        {CreatedAtRole, "createdAt"},
        {TimeLabelRole, "timeLabel"},
        {LabelRole, "label"},
        {NoteRole, "note"},
        {KindRole, "kind"},
        {KindLabelRole, "kindLabel"},
        {KindShortLabelRole, "kindShortLabel"},
        {IconNameRole, "iconName"},
        {PinDisplayTitleRole, "pinDisplayTitle"},
        {HasNoteRole, "hasNote"},
        {LinkedSegmentIdRole, "linkedSegmentId"},
        {IsSelectedRole, "isSelected"},
        {IsHighlightedRole, "isHighlighted"},
        {IsActiveRole, "isActive"},
        {RowDescriptionRole, "rowDescription"},
    };
}

std::optional<qsizetype> TranscriptPinListModel::rowOf(const QUuid& id) const {
    const auto& pins = items();
    const auto found = std::find_if(pins.cbegin(), pins.cend(),
                                    [&](const TranscriptPin& p) { return p.id == id; });
    if (found == pins.cend())
        return std::nullopt;
    return found - pins.cbegin();
}

qsizetype TranscriptPinListModel::add(TranscriptPin pin) {
    const auto& pins = items();
    const auto place = std::upper_bound(
        pins.cbegin(), pins.cend(), pin.timestamp,
        [](Timestamp time, const TranscriptPin& other) { return time < other.timestamp; });
    const qsizetype row = place - pins.cbegin();
    insertItems(row, {std::move(pin)});
    return row;
}

bool TranscriptPinListModel::remove(const QUuid& id) {
    bool removed = false;
    for (qsizetype row = items().size() - 1; row >= 0; --row) {
        if (items().at(row).id == id) {
            removeItems(row, 1);
            removed = true;
        }
    }
    return removed;
}

bool TranscriptPinListModel::replace(TranscriptPin pin) {
    const auto row = rowOf(pin.id);
    if (!row)
        return false;
    // Where a stable sort would put the pin with its new time: after the others of an earlier
    // time, and among those of the same time where it stood.
    const auto& pins = items();
    qsizetype target = 0;
    for (qsizetype other = 0; other < pins.size(); ++other) {
        if (other == *row)
            continue;
        const Timestamp time = pins.at(other).timestamp;
        if (time < pin.timestamp || (time == pin.timestamp && other < *row))
            ++target;
    }
    moveItem(*row, target);
    changeItem(target, std::move(pin));
    return true;
}

void TranscriptPinListModel::setPins(QList<TranscriptPin> pins) {
    sortPinsByTime(pins);
    applyItems(std::move(pins));
}

void TranscriptPinListModel::reset(QList<TranscriptPin> pins) {
    sortPinsByTime(pins);
    resetItems(std::move(pins));
}

void TranscriptPinListModel::setSelectedPinId(std::optional<QUuid> id) {
    setFlag(m_selectedPinId, std::move(id), IsSelectedRole);
}

void TranscriptPinListModel::setHighlightedPinId(std::optional<QUuid> id) {
    setFlag(m_highlightedPinId, std::move(id), IsHighlightedRole);
}

void TranscriptPinListModel::setFlag(std::optional<QUuid>& flag, std::optional<QUuid> id,
                                     int role) {
    if (flag == id)
        return;
    const std::optional<QUuid> previous = std::exchange(flag, std::move(id));
    const auto& pins = items();
    for (qsizetype row = 0; row < pins.size(); ++row) {
        if (pins.at(row).id == previous || pins.at(row).id == flag) {
            const QModelIndex changed = index(static_cast<int>(row));
            Q_EMIT dataChanged(changed, changed, {role, IsActiveRole});
        }
    }
}

} // namespace vesnara
