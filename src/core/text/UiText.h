#pragma once

#include <QString>

// Every text the user sees, in one place. Finnish is the product's language.
//
// Where a text names a place or feature that exists only on the Apple platform, the Linux
// wording stands in its `…` constant and the original is kept beside it as `…Apple`, so a
// build for that platform would show the original.

namespace vesnara::UiText {

using namespace Qt::StringLiterals;

// Pin kinds: label, short label.
inline const QString pinKindImportant = u"Tärkeä"_s;
inline const QString pinKindImportantShort = u"Tärkeä"_s;
inline const QString pinKindTopicChange = u"Teeman vaihto"_s;
inline const QString pinKindTopicChangeShort = u"Teema"_s;
inline const QString pinKindRevisit = u"Palaa tähän"_s;
inline const QString pinKindRevisitShort = u"Pinni"_s;

// Audio input modes.
inline const QString inputModeMicrophone = u"Mikrofoni"_s;
inline const QString inputModeSystemAudio = u"Systeemiääni"_s;
inline const QString inputModeMicrophoneAndSystem = u"Mikki + systeemiääni"_s;

// Mix presets.
inline const QString mixPresetMeeting = u"Kokous"_s;
inline const QString mixPresetInterview = u"Haastattelu"_s;
inline const QString mixPresetWebinar = u"Webinaari"_s;
inline const QString mixPresetCustom = u"Mukautettu"_s;
inline QString mixPresetApplied(const QString& presetLabel) {
    return u"Miksausprofiili: "_s + presetLabel;
}

// Export formats.
inline const QString exportFormatTxt = u"TXT"_s;
inline const QString exportFormatJson = u"JSON"_s;
inline const QString exportFormatCsv = u"CSV"_s;

// Initial states of the main screen.
inline const QString statusReadyToStart = u"Valmis aloittamaan"_s;
inline const QString microphonePermissionUnchecked = u"Mikrofonioikeus: tarkistamatta"_s;
inline const QString systemAudioPermissionUnchecked = u"Systeemiäänen oikeus: tarkistamatta"_s;
inline const QString memoBackendStatusUnknown = u"Ei tiedossa (testaa yhteys)"_s;

// Source names.
inline const QString automaticSource = u"Auto"_s;
inline const QString unknownInputDevice = u"Tuntematon"_s;
inline const QString unknownSystemDisplayApple = u"Tuntematon näyttö"_s;
inline const QString unknownSystemDisplay = u"Tuntematon äänilähtö"_s;
inline const QString systemAudioSourceFallbackName = u"Järjestelmä"_s;

// Settings.
inline const QString settingsSaved = u"Asetukset tallennettu"_s;
inline const QString noAPIKeyOnClipboard = u"Leikepöydällä ei ole API-avainta"_s;
inline const QString promptSave = u"Tallenna"_s;
inline const QString promptCancel = u"Peruuta"_s;
inline const QString promptBackendURLTitle = u"Backend URL"_s;
inline const QString promptBackendURLText = u"Syötä STT-palvelun URL."_s;
inline const QString promptBackendURLPlaceholder = u"https://..."_s;
inline const QString promptAPIKeyTitle = u"API Key"_s;
inline const QString promptAPIKeyText = u"Syötä x-api-key."_s;
inline const QString promptAPIKeyPlaceholder = u"x-api-key"_s;
inline const QString promptUpdateManifestURLTitle = u"Päivitysfeed URL"_s;
inline const QString promptUpdateManifestURLText =
    u"Syötä päivitysmanifestin osoite (latest-mac.json)."_s;
inline const QString promptUpdateManifestURLPlaceholder = u"https://.../latest-mac.json"_s;

// Speech backend.
inline const QString backendInvalidBaseURL = u"Virheellinen backend-osoite"_s;
inline const QString backendInvalidResponse = u"Virheellinen palvelinvaste"_s;
inline const QString backendInvalidUpdateManifestURL = u"Virheellinen päivitysfeed URL"_s;
// A refusal whose body carried no `error` text of its own.
inline QString backendServerErrorStatus(int httpStatus) {
    return u"Palvelinvirhe ("_s + QString::number(httpStatus) + u')';
}

} // namespace vesnara::UiText
