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

// Audio stream.
// An "error" message from the server that carried no text of its own.
inline const QString streamUnknownError = u"Tuntematon virhe"_s;
inline const QString streamReconnectMissingURL = u"WS-uudelleenyhteys epäonnistui: puuttuva URL"_s;
inline const QString streamReconnectInvalidURL =
    u"WS-uudelleenyhteys epäonnistui: virheellinen URL"_s;
// The connection was lost and every reconnect failed; `errorDescription` says why the last one
// ended. The view model recognises this text by its beginning.
inline QString streamConnectionLost(const QString& errorDescription) {
    return u"WS-yhteys katkesi eikä uudelleenyhteys onnistunut: "_s + errorDescription;
}
// The socket gave no description of its own failure.
inline const QString streamConnectionClosed = u"yhteys suljettiin"_s;

// Network: a request that got no answer from the server.
inline const QString networkConnectionRefused = u"Palvelimeen ei saatu yhteyttä"_s;
inline const QString networkHostNotFound = u"Palvelimen osoitetta ei löytynyt"_s;
inline const QString networkTimedOut = u"Palvelin ei vastannut ajoissa"_s;
inline const QString networkTlsFailed = u"Suojattua yhteyttä palvelimeen ei voitu muodostaa"_s;
inline const QString networkConnectionLost = u"Yhteys palvelimeen katkesi"_s;
inline const QString networkCancelled = u"Pyyntö peruttiin"_s;
inline const QString networkFailed = u"Verkkovirhe: palvelimeen ei saatu yhteyttä"_s;

// Audio capture.
inline const QString microphonePermissionDenied = u"Mikrofonin käyttöoikeus puuttuu"_s;
inline const QString microphoneEngineNotReady = u"Audio engine ei ole käyttövalmis"_s;
// The name of the microphone in use when no device was chosen by name.
inline const QString defaultInputDeviceName = u"Oletuslaite"_s;
inline const QString systemAudioPermissionDeniedApple =
    u"Systeemiäänen käyttöoikeus puuttuu (Screen Recording)."_s;
inline const QString systemAudioPermissionDenied =
    u"Systeemiäänen käyttöoikeus puuttuu (äänipalvelimeen ei saada yhteyttä)."_s;
inline const QString systemAudioRestartRequiredAfterPermissionGrant =
    u"Systeemiäänen lupa myönnetty. Käynnistä Vesnara uudelleen ja yritä uudestaan."_s;
inline const QString systemAudioNoDisplayApple =
    u"Näyttölähdettä ei löytynyt systeemiäänen kaappaukseen."_s;
inline const QString systemAudioNoDisplay = u"Äänilähtöä ei löytynyt systeemiäänen kaappaukseen."_s;
inline const QString systemAudioStreamSetupFailed =
    u"Systeemiäänen kaappausta ei voitu käynnistää."_s;
// The application part of a system audio source's name when no single application is captured.
inline const QString systemAudioAllApplications = u"Kaikki sovellukset"_s;
// A display or output in the source picker.
inline QString systemDisplayOptionNameApple(quint32 displayId, int width, int height) {
    return u"Näyttö "_s + QString::number(displayId) + u" ("_s + QString::number(width) + u'x' +
           QString::number(height) + u')';
}
inline QString systemDisplayOptionName(quint32 outputId, const QString& outputName) {
    return outputName.isEmpty() ? u"Äänilähtö "_s + QString::number(outputId) : outputName;
}
// The running system audio source: where it is captured and which application.
inline QString systemAudioActiveSourceNameApple(quint32 displayId, const QString& application) {
    return u"Näyttö "_s + QString::number(displayId) + u" • "_s + application;
}
inline QString systemAudioActiveSourceName(const QString& outputName, const QString& application) {
    return outputName + u" • "_s + application;
}

// Audio permissions.
// On Linux there is no permission prompt: "denied" means the sound server cannot be reached or
// will not open the stream, and the way forward is the desktop's sound settings.
inline const QString microphonePermissionSummaryMissingUsageApple =
    u"Mikrofonioikeus: appista puuttuu käyttöselite (Info.plist)"_s;
inline const QString microphonePermissionSummaryMissingUsage =
    u"Mikrofonioikeus: sovelluksesta puuttuu käyttöselite"_s;
inline const QString microphonePermissionSummaryGranted = u"Mikrofonioikeus: sallittu"_s;
inline const QString microphonePermissionSummaryRestricted =
    u"Mikrofonioikeus: rajoitettu (järjestelmä tai MDM)"_s;
inline const QString microphonePermissionSummaryDeniedApple =
    u"Mikrofonioikeus: estetty (avaa macOS-asetukset)"_s;
inline const QString microphonePermissionSummaryDenied =
    u"Mikrofonioikeus: estetty (avaa ääniasetukset)"_s;
inline const QString microphonePermissionSummaryContradictory =
    u"Mikrofonioikeus: tila ristiriitainen (yritä pyytää lupa)"_s;
inline const QString microphonePermissionSummaryNotYetGranted =
    u"Mikrofonioikeus: ei vielä myönnetty (pyydä lupa)"_s;
inline const QString microphonePermissionSummaryUnclear =
    u"Mikrofonioikeus: tila epäselvä (kokeile pyytää lupa)"_s;
inline const QString systemAudioPermissionSummaryMissingUsageApple =
    u"Systeemiäänen oikeus: appista puuttuu käyttöselite (Info.plist)"_s;
inline const QString systemAudioPermissionSummaryMissingUsage =
    u"Systeemiäänen oikeus: sovelluksesta puuttuu käyttöselite"_s;
inline const QString systemAudioPermissionSummaryGranted = u"Systeemiäänen oikeus: sallittu"_s;
inline const QString systemAudioPermissionSummaryMissingOrDeniedApple =
    u"Systeemiäänen oikeus: puuttuu tai estetty (avaa macOS-asetukset)"_s;
inline const QString systemAudioPermissionSummaryMissingOrDenied =
    u"Systeemiäänen oikeus: puuttuu tai estetty (avaa ääniasetukset)"_s;
inline const QString systemAudioPermissionSummaryNotYetGranted =
    u"Systeemiäänen oikeus: ei vielä sallittu (pyydä lupa)"_s;
// Requests from the permission panel.
inline const QString microphonePermissionRequesting = u"Pyydetään mikrofonilupaa..."_s;
inline const QString microphonePermissionInUse = u"Mikrofonioikeus käytössä"_s;
inline const QString microphonePermissionBlockedApple =
    u"Mikrofonioikeus estetty. Avaa macOS-asetukset."_s;
inline const QString microphonePermissionBlocked =
    u"Mikrofonioikeus estetty. Avaa ääniasetukset."_s;
inline const QString microphonePermissionNotObtained = u"Mikrofonilupaa ei saatu. Tarkista tila."_s;
inline const QString systemAudioPermissionRequesting = u"Pyydetään systeemiäänilupaa..."_s;
inline const QString systemAudioPermissionGrantedRelaunch =
    u"Systeemiäänilupa myönnetty. Käynnistä appi uudelleen."_s;
inline const QString systemAudioPermissionMissingApple =
    u"Systeemiäänioikeus puuttuu. Avaa macOS-asetukset."_s;
inline const QString systemAudioPermissionMissing =
    u"Systeemiäänioikeus puuttuu. Avaa ääniasetukset."_s;
inline const QString systemAudioPermissionNotObtained =
    u"Systeemiäänilupaa ei saatu. Tarkista tila."_s;
inline const QString systemAudioPermissionInUse = u"Systeemiäänioikeus käytössä"_s;
// The hint when a recording could not start for want of the system audio permission.
inline const QString systemAudioPermissionMissingHintApple =
    u"Systeemiäänioikeus puuttuu. Avaa kohta Screen & System Audio Recording."_s;
inline const QString systemAudioPermissionMissingHint =
    u"Systeemiäänioikeus puuttuu. Tarkista, että äänipalvelin on käynnissä."_s;
// Opening the system's settings and relaunching.
inline const QString openedMicrophoneSettingsApple = u"Avattiin macOS:n mikrofoniasetukset"_s;
inline const QString openedMicrophoneSettings = u"Avattiin järjestelmän ääniasetukset"_s;
inline const QString openedSystemAudioSettingsApple = u"Avattiin macOS:n systeemiäänioikeudet"_s;
inline const QString openedSystemAudioSettings = u"Avattiin järjestelmän ääniasetukset"_s;
inline const QString openSettingsFailedApple = u"macOS-asetusten avaaminen epäonnistui"_s;
inline const QString openSettingsFailed = u"Ääniasetusten avaaminen epäonnistui"_s;
inline QString relaunchFailed(const QString& errorDescription) {
    return u"Uudelleenkäynnistys epäonnistui: "_s + errorDescription;
}

} // namespace vesnara::UiText
