#include "audio/SystemAudioSources.h"

#include "text/UiText.h"

#include <QCollator>
#include <QHash>

#include <algorithm>

namespace vesnara {

namespace {

QCollator nameCollator() {
    QCollator collator;
    collator.setCaseSensitivity(Qt::CaseInsensitive);
    return collator;
}

bool isOwn(const SystemAudioApplication& application, const OwnApplication& own) {
    if (!own.bundleIdentifier.isEmpty() && application.bundleIdentifier == own.bundleIdentifier)
        return true;
    return own.processId != 0 && application.processIds.contains(own.processId);
}

} // namespace

QList<SystemAudioApplication>
withoutOwnApplication(const QList<SystemAudioApplication>& applications,
                      const OwnApplication& own) {
    QList<SystemAudioApplication> result;
    std::ranges::copy_if(applications, std::back_inserter(result),
                         [&](const auto& application) { return !isOwn(application, own); });
    return result;
}

QList<SystemAudioDisplayOption> displaySourceOptions(const QList<SystemAudioDisplay>& displays) {
    QList<SystemAudioDisplayOption> options;
    for (const SystemAudioDisplay& display : displays)
        options.append({display.id, UiText::systemDisplayOptionName(display.id, display.name)});
    return options;
}

QList<SystemAudioApplicationOption>
applicationSourceOptions(const QList<SystemAudioApplication>& applications) {
    QList<QString> order;
    QHash<QString, QList<SystemAudioApplication>> groups;
    for (const SystemAudioApplication& application : applications) {
        if (application.bundleIdentifier.isEmpty())
            continue;
        auto& group = groups[application.bundleIdentifier];
        if (group.isEmpty())
            order.append(application.bundleIdentifier);
        group.append(application);
    }

    const QCollator collator = nameCollator();
    QList<SystemAudioApplicationOption> options;
    for (const QString& bundleIdentifier : order) {
        auto group = groups.value(bundleIdentifier);
        std::ranges::stable_sort(group, [&](const auto& a, const auto& b) {
            return collator.compare(a.applicationName, b.applicationName) < 0;
        });
        QString name = group.first().applicationName.trimmed();
        if (name.isEmpty())
            name = bundleIdentifier;
        options.append({bundleIdentifier, name, bundleIdentifier});
    }
    std::ranges::stable_sort(options, [&](const auto& a, const auto& b) {
        return collator.compare(a.name, b.name) < 0;
    });
    return options;
}

QString SystemAudioSelection::applicationName() const {
    if (applications.size() != 1)
        return UiText::systemAudioAllApplications;
    const auto& only = applications.first();
    return only.applicationName.isEmpty() ? only.bundleIdentifier : only.applicationName;
}

std::optional<SystemAudioSelection> selectSystemAudioSource(
    const SystemAudioContent& content, std::optional<quint32> preferredDisplayId,
    const std::optional<QString>& preferredBundleIdentifier, const OwnApplication& own) {
    if (content.displays.isEmpty())
        return std::nullopt;

    SystemAudioSelection selection;
    selection.display = content.displays.first();
    if (preferredDisplayId) {
        const auto it =
            std::ranges::find(content.displays, *preferredDisplayId, &SystemAudioDisplay::id);
        if (it != content.displays.end())
            selection.display = *it;
    }
    selection.target.displayId = selection.display.id;

    selection.applications = withoutOwnApplication(content.applications, own);
    const QString wanted = preferredBundleIdentifier.value_or(QString()).trimmed();
    if (!wanted.isEmpty()) {
        const auto it = std::ranges::find(selection.applications, wanted,
                                          &SystemAudioApplication::bundleIdentifier);
        if (it != selection.applications.end()) {
            selection.applications = {*it};
            selection.target.applicationBundleIdentifier = wanted;
        }
    }
    return selection;
}

} // namespace vesnara
