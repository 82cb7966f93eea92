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

// The source pickers: their Auto entries and device entries.
inline QString automaticInputDeviceEntry(const QString& recommendedDeviceName) {
    return recommendedDeviceName.isEmpty() ? u"Auto (suositus)"_s
                                           : u"Auto (suositus: "_s + recommendedDeviceName + u')';
}
inline const QString automaticSystemDisplayEntryApple = u"Auto (ensimmäinen näyttö)"_s;
inline const QString automaticSystemDisplayEntry = u"Auto (ensimmäinen äänilähtö)"_s;
inline const QString automaticSystemApplicationEntry = u"Auto (kaikki sovellukset)"_s;
inline QString inputDeviceEntry(const QString& name, bool isVirtual) {
    return isVirtual ? name + u" (virtuaali)"_s : name;
}

// The session history: one saved session's row; `endedAt` comes formatted.
inline QString sessionHistoryLabel(const QString& endedAt, const QString& sttModel,
                                   qsizetype segmentCount) {
    return endedAt + u" • "_s + sttModel + u" • "_s + QString::number(segmentCount) +
           u" segmenttiä"_s;
}

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

// A failure that has no words of its own for the user; its English detail goes to the log.
inline const QString unexpectedError = u"Odottamaton virhe"_s;

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

// Accounts
// Errors of the auth service's client.
inline const QString authInvalidURL = u"Virheellinen auth-osoite"_s;
inline const QString authConnectionFailed = u"Yhteys auth-palveluun epäonnistui"_s;
inline const QString authInvalidServerResponse = u"Virheellinen vastaus auth-palvelulta"_s;
inline const QString authSessionExpired = u"Sessio vanhentunut, kirjaudu uudelleen."_s;
inline const QString authInvalidVerifyResponse = u"Virheellinen auth-vastaus"_s;
// Login.
inline const QString authEnterEmailAndPassword = u"Syötä sähköposti ja salasana."_s;
inline const QString authLoginFailed = u"Kirjautuminen epäonnistui."_s;
inline const QString authInvalidLoginResponse = u"Virheellinen kirjautumisvastaus."_s;
// The prompt for the auth service's address (buttons `promptSave`, `promptCancel`).
inline const QString promptAuthURLTitle = u"Auth URL"_s;
inline const QString promptAuthURLText = u"Syötä auth-palvelun URL."_s;
// Password flows.
inline const QString authEnterEmail = u"Syötä sähköpostiosoite."_s;
inline const QString authPasswordResetSent = u"Palautusohje lähetetty."_s;
inline const QString authPasswordResetUnavailable =
    u"Salasanan palautus ei ole käytössä auth-palvelussa."_s;
inline const QString authPasswordResetFailed = u"Salasanan palautus epäonnistui."_s;
inline const QString authEnterCurrentAndNewPassword = u"Syötä nykyinen ja uusi salasana."_s;
inline const QString authSessionMissing = u"Sessio puuttuu. Kirjaudu uudelleen."_s;
inline const QString authPasswordChanged = u"Salasana päivitetty."_s;
inline const QString authPasswordChangeUnavailable =
    u"Salasanan vaihto ei ole käytössä auth-palvelussa."_s;
inline const QString authPasswordChangeFailed = u"Salasanan vaihto epäonnistui."_s;
// User administration.
inline const QString adminEnterKey = u"Syötä admin-avain."_s;
inline const QString adminInvalidRole = u"Virheellinen rooli."_s;
inline const QString adminEnterNewPassword = u"Syötä uusi salasana."_s;
inline const QString adminListUsersFailed = u"Käyttäjien haku epäonnistui."_s;
inline const QString adminCreateUserFailed = u"Käyttäjän luonti epäonnistui."_s;
inline const QString adminSetRoleFailed = u"Roolin vaihto epäonnistui."_s;
inline const QString adminSetRoleUnavailable = u"Roolin vaihto ei ole käytössä auth-palvelussa."_s;
inline const QString adminEnableUserFailed = u"Käyttäjän aktivointi epäonnistui."_s;
inline const QString adminDisableUserFailed = u"Käyttäjän esto epäonnistui."_s;
inline const QString adminDeleteUserFailed = u"Käyttäjän poisto epäonnistui."_s;
inline const QString adminResetPasswordFailed = u"Salasanan nollaus epäonnistui."_s;

// Recording engine.
// Start, stop, pause and resume.
inline const QString statusWaitForAudioTest = u"Odota, että äänitesti valmistuu"_s;
inline const QString statusConnecting = u"Yhdistetään..."_s;
inline const QString statusStartTimedOut = u"Aloitus aikakatkaistiin"_s;
// Shown whether or not the server had created the session when the start gave up.
inline const QString hintStartTimedOut =
    u"Sessio syntyi, mutta äänen kaappaus tai yhteys ei käynnistynyt ajoissa. Yritä uudelleen ja vie diagnostiikka, jos tämä toistuu."_s;
inline const QString statusStopping = u"Pysäytetään..."_s;
inline const QString statusResuming = u"Jatketaan..."_s;
inline const QString statusResumeFailedNoConnection = u"Jatkaminen epäonnistui: yhteys puuttuu"_s;
inline const QString statusResumeTimedOut = u"Jatkaminen aikakatkaistiin"_s;
inline const QString hintResumeTimedOut =
    u"Jatkaminen jäi odottamaan yhteyttä liian pitkäksi aikaa. Teksti säilyi, ja voit yrittää jatkaa tai lopettaa tallennuksen."_s;
// The status line while a recording runs.
inline const QString statusListening = u"Kuuntelen..."_s;
inline QString statusListeningTo(const QString& sourceName) {
    return u"Kuuntelen... ("_s + sourceName + u')';
}
inline const QString statusPaused = u"Tauolla"_s;
inline const QString statusWaiting = u"Odottaa"_s;
inline const QString statusWaitingForAudio = u"Odottaa ääntä..."_s;
inline const QString statusWaitingForSpeech = u"Odottaa puhetta..."_s;
inline const QString statusPausedConnectionLost = u"Tauolla (yhteys katkennut...)"_s;
inline const QString statusReconnecting = u"Yhdistetään uudelleen..."_s;
inline const QString statusRetryingSafeModel =
    u"Puheentunnistus ei saanut tekstiä. Yritetään varamallia..."_s;
inline const QString statusStopped = u"Pysäytetty"_s;
inline const QString statusStoppedWithoutTranscript = u"Pysäytetty ilman transkriptiota"_s;
// A recording that the server or the connection ended, while running or while paused.
inline const QString statusConnectionLost = u"Yhteys katkesi"_s;
inline const QString statusSessionClosedDuringPause = u"Sessio sulkeutui tauon aikana"_s;
inline const QString hintSessionClosedByServer =
    u"Palvelin sulki session, koska ääntä ei tullut ajoissa tai yhteys katkesi. Nykyinen teksti säilyi; aloita uusi tallennus jatkaaksesi."_s;
// Where a finished session went when it could not be saved as the server named it.
inline const QString hintSessionSaveFailed =
    u"Istunnon tallennus tälle koneelle epäonnistui. Teksti on yhä näkyvissä: vie se tiedostoon."_s;
inline QString hintSessionSavedUnderName(const QString& fileName) {
    return u"Palvelimen istuntotunnus ei kelpaa tiedostonimeksi, joten istunto tallennettiin nimellä %1."_s
        .arg(fileName);
}
// Why a stop yielded no text, by the audio that was sent.
inline const QString hintEmptyResultTooShort =
    u"Tallennus jäi hyvin lyhyeksi eikä puhetta ehtinyt syntyä. Tee äänitesti ja kokeile uudelleen."_s;
inline const QString hintEmptyResultSilentMicrophone =
    u"Äänitaso oli lähes nolla. Tarkista mikrofoni tai valitse oikea äänilähde ja tee äänitesti."_s;
inline const QString hintEmptyResultSilentSystemAudioApple =
    u"Systeemiäänen taso oli lähes nolla. Tarkista valittu näyttö/sovellus ja Screen & System Audio -lupa."_s;
inline const QString hintEmptyResultSilentSystemAudio =
    u"Systeemiäänen taso oli lähes nolla. Tarkista valittu äänilähtö/sovellus ja että äänipalvelin on käynnissä."_s;
inline const QString hintEmptyResultSilentMixed =
    u"Mikin ja systeemiäänen taso oli lähes nolla. Tarkista äänilähteet ja tee äänitesti."_s;
inline const QString hintEmptyResultQuiet =
    u"Ääni oli hyvin hiljainen eikä puheentunnistus saanut sanoja. Tarkista äänilähde ja tee äänitesti."_s;
inline const QString hintEmptyResultNoText =
    u"Ääntä lähetettiin, mutta puheentunnistus ei palauttanut tekstiä. Kokeile äänitestiä tai toista mallia."_s;
// Live hints from the server's view of the session, in the order they are tried.
inline const QString hintRecordingPaused = u"Tallennus tauolla"_s;
inline const QString hintMixedMicrophoneMissingRestarting =
    u"Mikrofoni ei ole mukana tallennuksessa. Yritetään käynnistää mikki uudelleen..."_s;
inline const QString hintMixedMicrophoneMissingApple =
    u"Mikrofoni ei ole mukana tallennuksessa. Valitse toinen mikrofoni tai tarkista macOS Microphone -lupa."_s;
inline const QString hintMixedMicrophoneMissing =
    u"Mikrofoni ei ole mukana tallennuksessa. Valitse toinen mikrofoni tai tarkista järjestelmän ääniasetukset."_s;
inline const QString hintMixedSystemAudioMissingApple =
    u"Systeemiääni ei ole mukana tallennuksessa. Tarkista näyttölähde/sovellussuodatin ja lupa."_s;
inline const QString hintMixedSystemAudioMissing =
    u"Systeemiääni ei ole mukana tallennuksessa. Tarkista äänilähtö/sovellussuodatin ja lupa."_s;
inline const QString hintMixedMicrophoneQuiet =
    u"Mikrofoni on mukana, mutta sen taso on hyvin hiljainen. Valitse toinen mikrofoni tai nosta input-tasoa."_s;
inline const QString hintNoSpeechDetected = u"Puhetta ei havaita. Tarkista valittu mikrofoni."_s;
inline const QString hintAudioSentNoTextYet =
    u"Ääntä lähetetään, mutta puheentunnistus ei vielä palauta tekstiä."_s;
inline const QString hintSystemAudioNotConvertingToPCM =
    u"Systeemiääni saapuu, mutta formaatti ei muunnu PCM:ksi. Lähetä terminaalilogi."_s;
inline const QString hintSystemAudioNoPCM =
    u"Systeemiääni ei muodosta PCM-dataa. Ota varatila käyttöön tai vaihda tilaan Mikki + systeemiääni."_s;
inline const QString hintNoSystemAudioFramesApple =
    u"Systeemiäänestä ei tule frameja. Tarkista Screen & System Audio Recording -lupa."_s;
inline const QString hintNoSystemAudioFrames =
    u"Systeemiäänestä ei tule frameja. Tarkista valittu äänilähtö ja että äänipalvelin on käynnissä."_s;
inline QString hintSttError(const QString& message) {
    return u"STT-virhe: "_s + message;
}

// Recording
// Supervision of the sources during a recording: fallbacks, restarts and the pickers.
inline QString statusMicrophoneSwitchedTo(const QString& name) {
    return u"Mikrofoni vaihdettu: "_s + name;
}
inline QString hintMicrophoneFellBackToStable(const QString& previous, const QString& fallback) {
    return previous +
           u" ei tuottanut mikrofonidataa. Vaihdettiin automaattisesti vakaampaan mikrofoniin: "_s +
           fallback + u'.';
}
inline const QString hintMicrophoneLivenessFailedApple =
    u"Valittu mikrofoni ei tuottanut dataa. Valitse MacBookin oma mikrofoni tai irrota Bluetooth-headset ja kokeile uudelleen."_s;
inline const QString hintMicrophoneLivenessFailed =
    u"Valittu mikrofoni ei tuottanut dataa. Valitse tietokoneen oma mikrofoni tai irrota Bluetooth-headset ja kokeile uudelleen."_s;
inline const QString statusMicrophoneSwitchFailed = u"Mikrofonin vaihto epäonnistui"_s;
inline const QString statusMicrophoneSwitchFailedNoConnection =
    u"Mikrofonin vaihto epäonnistui: yhteys puuttuu"_s;
inline QString hintMicrophoneStartFailed(const QString& description) {
    return u"Mikrofonin käynnistys epäonnistui: "_s + description;
}
inline const QString hintMicrophoneJoinedRecording =
    u"Mikrofoni liitetty käynnissä olevaan tallennukseen. Odotetaan mikrofonidataa..."_s;
inline const QString hintMicrophoneSwitchedInRecording =
    u"Mikrofoni vaihdettu käynnissä olevaan tallennukseen."_s;
inline const QString hintMicrophoneStillSilentApple =
    u"Mikrofoni ei edelleenkään tuota dataa. Valitse toinen mikrofoni tai tarkista macOS Microphone -lupa."_s;
inline const QString hintMicrophoneStillSilent =
    u"Mikrofoni ei edelleenkään tuota dataa. Valitse toinen mikrofoni tai tarkista järjestelmän ääniasetukset."_s;
inline QString hintMicrophoneRestartFailed(const QString& description) {
    return u"Mikrofonin uudelleenkäynnistys epäonnistui: "_s + description;
}
inline const QString hintMicrophoneRestarted =
    u"Mikrofoni käynnistettiin uudelleen. Odotetaan mikrofonidataa..."_s;
inline const QString hintSystemFallbackNoMicrophonePermission =
    u"Systeemiääni ei tuottanut dataa eikä mikrofoniin ole lupaa. Anna mikrofonilupa."_s;
inline QString hintSystemFallbackFailed(const QString& description) {
    return u"Automaattinen varatila epäonnistui: "_s + description;
}
inline const QString hintSystemFallbackActivated =
    u"Systeemiääni ei tuottanut dataa. Vaihdettu automaattisesti tilaan Mikki + systeemiääni."_s;
inline const QString selectedBluetoothMicrophone = u"valittu Bluetooth-mikrofoni"_s;
inline QString statusMicrophoneUpdatedTo(const QString& name) {
    return u"Mikrofoni päivitetty: "_s + name;
}
inline const QString statusMicrophoneUpdated = u"Mikrofoni päivitetty"_s;
inline QString hintWirelessHeadsetSelected(const QString& name, const QString& fallback) {
    return name +
           u" valittu. Jos Vesnara ei saa siitä dataa rinnakkaiskaappauksessa, vaihdetaan automaattisesti vakaampaan mikrofoniin: "_s +
           fallback + u'.';
}
inline const QString statusAddingMicrophone = u"Lisätään mikrofoni tallennukseen..."_s;
inline const QString statusSwitchingMicrophone = u"Vaihdetaan mikrofonia..."_s;
inline const QString hintMicrophonePermissionMissingApple =
    u"Mikrofonilupa puuttuu. Anna lupa macOS-asetuksissa ja kokeile uudelleen."_s;
inline const QString hintMicrophonePermissionMissing =
    u"Mikrofonilupa puuttuu. Tarkista järjestelmän ääniasetukset ja kokeile uudelleen."_s;
inline const QString statusSystemAudioSourceUpdated = u"Systeemiäänen lähde päivitetty"_s;
inline const QString statusSystemAudioApplicationFilterUpdated =
    u"Systeemiäänen sovellussuodatin päivitetty"_s;

// The audio test.
inline const QString audioTestStopRecordingFirst = u"Pysäytä tallennus ennen äänitestiä"_s;
inline const QString audioTestRunning = u"Äänitesti käynnissä (5 s)..."_s;
inline const QString audioTestNoAudio = u"Äänitesti valmis: Ei havaittua audiodataa"_s;
inline const QString audioTestVeryQuiet = u"Äänitesti valmis: audiodata hyvin hiljainen"_s;
inline const QString audioTestLevelOk = u"Äänitesti valmis: taso ok"_s;
inline const QString audioTestAdviceNoMicrophoneApple =
    u"Tarkista mikrofonin valinta ja macOS Microphone-lupa."_s;
inline const QString audioTestAdviceNoMicrophone =
    u"Tarkista mikrofonin valinta ja järjestelmän ääniasetukset."_s;
inline const QString audioTestAdviceNoSystemAudioApple =
    u"Tarkista Screen & System Audio Recording -lupa ja äänen toisto valitusta lähteestä."_s;
inline const QString audioTestAdviceNoSystemAudio =
    u"Tarkista, että äänipalvelin on käynnissä ja ääntä toistetaan valitusta lähteestä."_s;
inline const QString audioTestAdviceNoMixedAudioApple =
    u"Tarkista sekä mikrofoni että Screen & System Audio Recording -lupa."_s;
inline const QString audioTestAdviceNoMixedAudio =
    u"Tarkista sekä mikrofoni että systeemiäänen lähde järjestelmän ääniasetuksista."_s;
inline const QString audioTestAdviceRaiseLevel =
    u"Nosta input-tasoa tai siirrä mikrofoni lähemmäs puhujaa."_s;
inline const QString audioTestAdviceMixedMicrophoneSilent =
    u"Mikrofoni ei tuota dataa; vaihda mikrofoni Auto-tilaan tai toiseen laitteeseen."_s;
inline const QString audioTestAdviceMixedSystemSilentApple =
    u"Systeemiääni ei tuota dataa; tarkista näyttölähde/sovellussuodatin tai lupa."_s;
inline const QString audioTestAdviceMixedSystemSilent =
    u"Systeemiääni ei tuota dataa; tarkista äänilähtö/sovellussuodatin tai äänipalvelin."_s;
inline const QString audioTestAdviceSourceWorks =
    u"Äänilähde toimii. Voit aloittaa litteroinnin."_s;
/// The figures of a finished test; the levels come formatted with three decimals.
inline QString audioTestSummary(qint64 frames, qint64 microphoneFrames, qint64 systemFrames,
                                const QString& averageLevel, const QString& peakLevel,
                                const QString& advice) {
    return u"Äänitesti: frameja %1, mic %2, systeemi %3, avg %4, huippu %5. Suositus: %6"_s.arg(
        QString::number(frames), QString::number(microphoneFrames), QString::number(systemFrames),
        averageLevel, peakLevel, advice);
}
inline const QString audioTestInterrupted = u"testi keskeytettiin"_s;
inline QString audioTestFailed(const QString& description) {
    return u"Äänitesti epäonnistui: "_s + description;
}

// Memo, update check and connection test.
inline const QString memoGenerating = u"Muodostetaan muistio..."_s;
inline QString memoGenerationFailed(const QString& description) {
    return u"Muistion luonti epäonnistui: "_s + description;
}
/// The file name proposed for a memo whose session id cannot name a file.
inline const QString memoDefaultFileName = u"muistio"_s;
inline const QString memoFileFilter = u"Word-dokumentti (*.docx)"_s;
inline QString memoSaved(const QString& fileName) {
    return u"Muistio tallennettu: "_s + fileName;
}
inline const QString memoSaveFailed = u"Muistion tallennus epäonnistui"_s;
inline const QString memoReady = u"Muistio valmis"_s;
inline const QString updateManifestURLMissing = u"Päivitysfeed URL puuttuu"_s;
inline const QString updateChecking = u"Tarkistetaan päivitykset..."_s;
inline QString updateNoneNewer(const QString& runningVersion) {
    return u"Ei uusia päivityksiä (versio "_s + runningVersion + u')';
}
inline QString updateAvailableOpening(const QString& version) {
    return u"Päivitys saatavilla: "_s + version + u" (avaa lataus)"_s;
}
inline QString updateAvailable(const QString& version) {
    return u"Päivitys saatavilla: "_s + version;
}
inline QString updateCheckFailed(const QString& description) {
    return u"Päivitystarkistus epäonnistui: "_s + description;
}
inline const QString connectionTesting = u"Testataan yhteyttä..."_s;
inline QString connectionOk(const QString& serverTime) {
    return u"Yhteys ok ("_s + serverTime + u')';
}
inline const QString connectionTestFailed = u"Yhteystesti epäonnistui"_s;
inline QString connectionError(const QString& description) {
    return u"Yhteysvirhe: "_s + description;
}
inline const QString memoBackendStatusOldBackend = u"Ei tiedossa (vanha backend)"_s;
inline QString memoBackendStatusInUseWithModel(const QString& model) {
    return u"Käytössä ("_s + model + u')';
}
inline const QString memoBackendStatusInUse = u"Käytössä"_s;
inline const QString memoBackendStatusNotConfigured = u"Ei konfiguroitu"_s;
inline const QString memoBackendStatusConnectionError = u"Tuntematon (yhteysvirhe)"_s;
// Diagnostics package: the user's package, the automatic file after a fallback, the commands
// that find the latest one again, and the message for support.
inline const QString diagnosticsCollecting = u"Kootaan diagnostiikka..."_s;
inline QString diagnosticsSaved(const QString& fileName) {
    return u"Diagnostiikka tallennettu: "_s + fileName;
}
inline const QString diagnosticsCancelled = u"Diagnostiikka peruttu"_s;
inline const QString diagnosticsSaveFailed = u"Diagnostiikan tallennus epäonnistui"_s;
inline const QString diagnosticsArchiveFilter = u"Zip-arkisto (*.zip)"_s;
inline QString diagnosticsAutoSaved(const QString& fileName) {
    return u"Automaattinen diagnostiikka tallennettu: "_s + fileName;
}
/// Appended to a hint already shown.
inline QString diagnosticsHintSuffix(const QString& fileName) {
    return u" (Diagnoosi: "_s + fileName + u')';
}
inline const QString diagnosticsNotFound = u"Diagnostiikkatiedostoa ei löytynyt"_s;
inline QString diagnosticsOpened(const QString& fileName) {
    return u"Avattiin: "_s + fileName;
}
inline QString diagnosticsRevealedApple(const QString& fileName) {
    return u"Näytetään Finderissa: "_s + fileName;
}
inline QString diagnosticsRevealed(const QString& fileName) {
    return u"Näytetään tiedostonhallinnassa: "_s + fileName;
}
inline const QString diagnosticsTemplateCopied = u"Tukiviestipohja kopioitu leikepöydälle"_s;
inline const QString diagnosticsNoPackage = u"(ei tallennettua pakettia)"_s;
/// The support message; `sessionId` "-" when there is none.
inline QString diagnosticsSupportTemplate(const QString& time, const QString& sessionId,
                                          const QString& source, const QString& model,
                                          const QString& packageName) {
    return u"Hei tuki,\n\nLiitän Vesnara-diagnoosin.\n\n- Aika: %1\n- Sessio-ID: %2\n"
           "- Äänilähde: %3\n- STT-malli: %4\n- Diagnostiikkapaketti: %5\n\nKuvaus:\n"
           "[Kirjaa tähän mitä tapahtui]"_s.arg(time, sessionId, source, model, packageName);
}
/// The package's README, without umlauts and without a line end after the last line.
inline const QString diagnosticsReadme =
    u"Vesnara diagnostiikkapaketti\n\nSisalto:\n"
    "- diagnostiikka.json (asetukset + runtime + virhetila)\n"
    "- transkriptio-local.txt (paikallinen tekstinakyma)\n"
    "- transkriptio-server.json (palvelimen transkriptidata, jos saatavilla)\n"
    "- sessio-meta.json (palvelimen sessiometa, jos saatavilla)\n"
    "- app-log.txt (sovelluksen loki)"_s;
// Pins, transcript exports and the session history commands.
inline QString statusPinAdded(const QString& label) {
    return u"Pinni lisätty: "_s + label;
}
inline const QString statusPinDeleted = u"Pinni poistettu"_s;
inline QString statusPinRenamed(const QString& label) {
    return u"Pinni nimetty: "_s + label;
}
inline const QString promptRenamePinTitle = u"Nimeä pinni"_s;
inline const QString promptRenamePinText = u"Anna pinnille kuvaava nimi."_s;
inline const QString exportPinHeading = u"Pinnatut kohdat:"_s;
inline const QString exportDefaultFileName = u"transkriptio"_s;
inline QString statusTranscriptSaved(const QString& fileName) {
    return u"Tallennettu: "_s + fileName;
}
inline const QString statusTranscriptSaveFailed = u"Tallennus epäonnistui"_s;
inline QString statusAutoExported(const QString& fileName) {
    return u"Auto-export: "_s + fileName;
}
inline const QString statusAutoExportFailed = u"Auto-export epäonnistui"_s;
inline const QString statusCopiedToClipboard = u"Kopioitu leikepöydälle"_s;
inline const QString statusSessionIdCopied = u"Sessio-ID kopioitu"_s;
inline const QString statusTranscriptCleared = u"Tyhjennetty"_s;
inline const QString statusSessionLoaded = u"Sessio ladattu"_s;
inline const QString statusDeletingSession = u"Poistetaan sessio..."_s;
inline const QString statusSessionDeleteFailed = u"Session poisto epäonnistui"_s;
inline const QString statusSessionDeleted = u"Sessio poistettu (myös palvelimelta)"_s;
inline const QString statusSessionDeletedLocally =
    u"Sessio poistettu paikallisesti (palvelinpoisto epäonnistui)"_s;
inline const QString statusDeletingAllSessions = u"Poistetaan kaikki sessiot..."_s;
inline const QString statusSessionsDeleteFailed = u"Sessioiden poisto epäonnistui"_s;
inline const QString statusAllSessionsDeleted = u"Kaikki sessiot poistettu (myös palvelimelta)"_s;
inline QString statusAllSessionsDeletedLocally(int serverFailures) {
    return u"Kaikki sessiot poistettu paikallisesti ("_s + QString::number(serverFailures) +
           u" palvelinpoistoa epäonnistui)"_s;
}
// Crash recovery and the local checkpoint
inline const QString recoveryStopRecordingFirst = u"Pysäytä tallennus ennen kaatumispalautusta"_s;
inline const QString recoveryNeedsLogin = u"Sessiopalautus vaatii aktiivisen kirjautumisen"_s;
inline const QString recoveryRunning = u"Palautetaan kaatunutta sessiota..."_s;
inline QString recoveryStartupRestored(qsizetype count) {
    return u"Crash-recovery: palautettu %1 sessiota"_s.arg(count);
}
inline QString recoveryRestored(const QString& sessionId) {
    return u"Palautettu kaatunut sessio: "_s + sessionId;
}
inline QString recoveryAlreadyInHistory(const QString& sessionId) {
    return u"Viimeisin kaatunut sessio oli jo historiassa: "_s + sessionId;
}
inline const QString recoveryNothingFound = u"Palautettavaa kaatunutta sessiota ei löytynyt"_s;
inline QString recoveryFailed(const QString& description) {
    return u"Kaatumispalautus epäonnistui: "_s + description;
}

// The account sheets, the user administration panel and the connection settings: what the
// form objects show (buttons whose text follows a busy flag, the two lines, the rows).
inline const QString resetSend = u"Lähetä"_s;
inline const QString resetSending = u"Lähetetään..."_s;
inline const QString resetRequestFailed = u"Palautuspyyntö epäonnistui."_s;
inline const QString changePasswordSaving = u"Tallennetaan..."_s;
inline const QString changePasswordMismatch = u"Uusi salasana ei täsmää."_s;
inline const QString changePasswordTooShort = u"Uuden salasanan minimipituus on 10 merkkiä."_s;
inline const QString adminLoadUsers = u"Lataa käyttäjät"_s;
inline const QString adminLoadingUsers = u"Haetaan..."_s;
inline const QString adminUsersLoaded = u"Käyttäjät haettu."_s;
inline const QString adminEnterNewUser = u"Syötä uuden käyttäjän sähköposti ja salasana."_s;
inline QString adminUserCreated(const QString& email) {
    return u"Käyttäjä luotu: "_s + email;
}
inline const QString adminRoleUpdated = u"Rooli päivitetty."_s;
inline const QString adminRoleUpdateFailed = u"Roolin päivitys epäonnistui."_s;
inline const QString adminUserEnabled = u"Käyttäjä aktivoitu."_s;
inline const QString adminUserDisabled = u"Käyttäjä estetty."_s;
inline const QString adminUserStateFailed = u"Käyttäjän tilan muutos epäonnistui."_s;
inline const QString adminUserDeleted = u"Käyttäjä poistettu."_s;
inline const QString adminPasswordReset = u"Salasana nollattu."_s;
inline const QString adminKeySaved = u"Admin-avain tallennettu tähän laitteeseen."_s;
inline const QString adminKeyCleared = u"Admin-avain poistettu tästä laitteesta."_s;
inline const QString adminDeleteUserTitle = u"Poista käyttäjä"_s;
inline const QString adminDeleteUserText =
    u"Käyttäjä poistetaan käytöstä ja sen sessiot suljetaan. Jatketaanko?"_s;
inline const QString adminResetPasswordTitle = u"Nollaa salasana"_s;
inline const QString adminResetPasswordText = u"Anna käyttäjälle uusi salasana."_s;
inline const QString adminNewPasswordPlaceholder = u"Uusi salasana"_s;
inline const QString adminUserActive = u"aktiivinen"_s;
inline const QString adminUserBlocked = u"estetty"_s;
/// A listed user's line under the address.
inline QString adminUserDetails(qint64 id, const QString& role, bool isActive) {
    return u"id "_s + QString::number(id) + u" • "_s + role + u" • "_s +
           (isActive ? adminUserActive : adminUserBlocked);
}
inline const QString adminDisableUser = u"Estä"_s;
inline const QString adminEnableUser = u"Aktivoi"_s;
// The application's window: the start check, the login screen and the main screen's shell.
inline const QString checkingLogin = u"Tarkistetaan kirjautumista..."_s;
inline const QString brandWordmark = u"TAMBERLY"_s;
inline const QString brandLogoName = u"Tamberly"_s;
inline const QString loginTitle = u"Kirjaudu"_s;
inline const QString loginSubtitle = u"Kirjaudu Vesnaraan yrityksen tunnuksilla."_s;
inline const QString loginEmailLabel = u"Sähköposti"_s;
inline const QString loginEmailPlaceholder = u"etunimi.sukunimi@yritys.fi"_s;
inline const QString loginPasswordLabel = u"Salasana"_s;
inline const QString loginRememberSession = u"Muista minut tällä laitteella"_s;
inline const QString loginBusy = u"Kirjaudutaan..."_s;
inline const QString loginForgotPassword = u"Unohtuiko salasana?"_s;
inline const QString mainHeading = u"Vesnara"_s;
inline const QString mainSubtitle = u"Reaaliaikainen litterointi suoraan työpöydällä"_s;
inline const QString mainRealtimeBadge = u"Realtime STT"_s;
inline const QString mainLogout = u"Kirjaudu ulos"_s;
inline const QString mainControlCard = u"Ohjaus"_s;
inline const QString mainStart = u"Aloita"_s;
inline const QString mainStop = u"Lopeta"_s;
inline const QString mainTranscriptCard = u"Transkriptio"_s;
inline const QString mainTranscriptEmpty = u"Transkriptio ilmestyy tähän tallennuksen aikana."_s;
inline const QString mainChangePassword = u"Vaihda salasana"_s;
inline const QString mainAdvancedCard = u"Lisäasetukset"_s;
inline const QString mainSessionsCard = u"Sessiot"_s;
// The account sheets: headings, explanations, the fields' names and the close button.
inline const QString sheetClose = u"Sulje"_s;
inline const QString resetSheetTitle = u"Salasanan palautus"_s;
inline const QString resetSheetExplanation =
    u"Syötä sähköpostiosoitteesi. Lähetämme palautusohjeen, jos auth-palvelu tukee toimintoa."_s;
inline const QString resetSheetEmailLabel = u"Sähköpostiosoite"_s;
inline const QString changePasswordExplanation = u"Anna nykyinen salasana ja uusi salasana."_s;
inline const QString changePasswordCurrent = u"Nykyinen salasana"_s;
inline const QString changePasswordNew = u"Uusi salasana"_s;
inline const QString changePasswordConfirm = u"Toista uusi salasana"_s;
// Subtitle export formats: the file picker's and the format list's names.
inline const QString exportFormatSrt = u"SRT-tekstitys"_s;
inline const QString exportFormatVtt = u"WebVTT-tekstitys"_s;

// The window's questions: the confirm dialog's accepting button and the save panel's heading
// (the prompt's buttons are `promptSave` and `promptCancel`).
inline const QString confirmAccept = u"Vahvista"_s;
inline const QString savePanelTitle = u"Tallenna tiedosto"_s;
// The main screen's cards: the control card's commands, counters and system audio help, the
// transcript's and the sessions' rows, and what a screen reader hears of each row.
inline const QString mainResume = u"Jatka"_s;
inline const QString mainPause = u"Tauko"_s;
inline const QString mainGenerateMemo = u"Muodosta muistio"_s;
inline const QString mainAddPin = u"Pinnaa hetki"_s;
inline QString mainPauseElapsed(const QString& elapsed) {
    return u"Tauolla kulunut "_s + elapsed + u" • yhteys pidetään auki"_s;
}
inline const QString mainFallbackNotice =
    u"Automaattinen varatila käytössä (Mikki + systeemiääni)"_s;
inline const QString mainCounterSeparator = u"•"_s;
inline QString mainWordCount(qsizetype count) {
    return QString::number(count) + u" sanaa"_s;
}
inline QString mainSegmentCount(qsizetype count) {
    return QString::number(count) + u" segmenttiä"_s;
}
inline QString mainAudioSource(const QString& label) {
    return u"Äänilähde: "_s + label;
}
/// The session item of the counters; "-" without a session.
inline QString mainSessionItem(const QString& sessionId) {
    return u"Sessio: "_s + (sessionId.isEmpty() ? u"-"_s : sessionId);
}
inline const QString mainCopySessionId = u"Kopioi"_s;
inline const QString systemAudioHelpRelaunch =
    u"Systeemiäänilupa myönnettiin. Käynnistä appi uudelleen ennen uutta yritystä."_s;
inline const QString systemAudioHelpFailed =
    u"Systeemiääni ei käynnistynyt. Anna lupa tai tarkista asetukset ja yritä uudelleen."_s;
inline const QString systemAudioHelpWhere =
    u"Tekninen tila löytyy kohdasta Lisäasetukset > Systeemiäänen oikeudet ja diagnostiikka."_s;
inline const QString systemAudioHelpGrant = u"Anna lupa"_s;
inline const QString systemAudioHelpOpenSettings = u"Avaa asetukset"_s;
inline const QString mainClearTranscript = u"Tyhjennä"_s;
inline const QString mainPinsTitle = u"Pinnatut kohdat"_s;
inline const QString mainShowPin = u"Näytä"_s;
inline const QString mainRenamePin = u"Nimeä"_s;
inline const QString mainDelete = u"Poista"_s;
/// Names a pin's row for its buttons: its title and time.
inline QString mainPinRowDescription(const QString& title, const QString& time) {
    return u"Pinni "_s + title + u", "_s + time;
}
inline const QString mainSessionsNoteApple =
    u"Sessiot tallennetaan tämän Macin paikalliseen muistiin."_s;
inline const QString mainSessionsNote =
    u"Sessiot tallennetaan tämän koneen paikalliseen muistiin."_s;
inline const QString mainSessionsEmpty = u"Ei tallennettuja sessioita."_s;
inline const QString mainLoadSession = u"Lataa"_s;
inline const QString mainRefreshSessions = u"Päivitä lista"_s;
inline const QString mainDeleteAllSessions = u"Poista kaikki"_s;
/// Names a saved session's row for its buttons.
inline QString mainSessionRowDescription(const QString& sessionLabel) {
    return u"Sessio "_s + sessionLabel;
}
// The advanced-settings card: its rows, the two permission groups, the actions, the
// administrators' groups and the user administration panel.
inline const QString settingsInputModeHint =
    u"Vinkki: käytä \"Mikrofoni + systeemiääni\" Meet- ja Teams-tapaamisissa."_s;
inline const QString settingsSystemFallback = u"Automaattinen varatila systeemiäänelle"_s;
inline const QString settingsLanguage = u"Kieli"_s;
inline const QString settingsModel = u"STT-malli"_s;
inline const QString settingsRefreshDevices = u"Päivitä laitteet"_s;
inline const QString settingsMicrophonePermissions = u"Mikrofonioikeudet"_s;
inline const QString settingsSystemAudioSource = u"Systeemiääni-lähde"_s;
inline const QString settingsRefreshDisplaysApple = u"Päivitä näytöt"_s;
inline const QString settingsRefreshDisplays = u"Päivitä äänilähdöt"_s;
inline const QString settingsApplication = u"Sovellus (valinnainen)"_s;
inline const QString settingsRefreshApplications = u"Päivitä sovellukset"_s;
inline const QString settingsSystemAudioPermissions = u"Systeemiäänen oikeudet ja diagnostiikka"_s;
inline const QString settingsMixPreset = u"Miksausprofiili"_s;
inline const QString settingsMicGain = u"Mikin taso"_s;
inline const QString settingsSystemGain = u"Systeemiäänen taso"_s;
inline const QString settingsLimiter = u"Rajoitin"_s;
inline const QString settingsAutoDucking = u"Automaattinen ducking"_s;
inline const QString settingsDuckingStrength = u"Ducking-voimakkuus"_s;
inline const QString settingsVirtualInputHint =
    u"Valittu syöttö on virtuaalilaite. Jos puhe ei litteroidu, vaihda fyysiseen mikrofoniin tai Auto-asetukseen."_s;
inline const QString settingsExportFormat = u"Tallennusmuoto"_s;
inline const QString settingsAutoExport = u"Auto-export"_s;
/// A slider's value as a whole percentage.
inline QString settingsPercent(double value) {
    return QString::number(qRound(value * 100)) + u'%';
}
inline const QString permissionCheckStatus = u"Tarkista tila"_s;
inline const QString permissionRequest = u"Pyydä lupa"_s;
inline const QString permissionRequesting = u"Pyydetään..."_s;
inline const QString permissionOpenSettingsApple = u"Avaa macOS-asetukset"_s;
inline const QString permissionOpenSettings = u"Avaa ääniasetukset"_s;
inline const QString microphonePermissionSettingsHintApple =
    u"Jos lupa on aiemmin estetty, macOS ei näytä ponnahdusta uudelleen. Avaa asetukset ja salli mikrofoni tälle apille."_s;
inline const QString microphonePermissionSettingsHint =
    u"Jos lupa on aiemmin estetty, järjestelmä ei kysy sitä uudelleen. Avaa ääniasetukset ja salli mikrofoni tälle apille."_s;
inline const QString microphonePermissionPromptHint =
    u"Jos ponnahdusikkunaa ei tule, paina ensin \"Tarkista tila\" ja sitten \"Pyydä lupa\"."_s;
inline const QString systemAudioPermissionSettingsHintApple =
    u"Salli Vesnara kohdassa Screen & System Audio Recording. Jos lupa myönnetään nyt, käynnistä appi uudelleen ennen uutta yritystä."_s;
inline const QString systemAudioPermissionSettingsHint =
    u"Tarkista järjestelmän ääniasetuksista, että äänipalvelin on käynnissä ja äänilähtö näkyy. Jos lupa myönnetään nyt, käynnistä appi uudelleen ennen uutta yritystä."_s;
inline const QString systemAudioPermissionPromptHintApple =
    u"Jos ponnahdusikkunaa ei tule, käytä nappia \"Pyydä lupa\" tai aloita tallennus, jolloin macOS voi pyytää luvan."_s;
inline const QString systemAudioPermissionPromptHint =
    u"Jos ponnahdusikkunaa ei tule, käytä nappia \"Pyydä lupa\" tai aloita tallennus, jolloin järjestelmä voi pyytää luvan."_s;
inline const QString permissionRelaunch = u"Käynnistä appi uudelleen"_s;
inline const QString settingsActions = u"Toiminnot"_s;
inline const QString settingsAudioTest = u"Äänitesti (5 s)"_s;
inline const QString settingsCopy = u"Kopioi"_s;
// The two "Kopioi" buttons of the main screen, told apart for a screen reader.
inline const QString copySessionIdDescription = u"Session tunnus leikepöydälle"_s;
inline const QString copyTranscriptDescription = u"Transkriptio leikepöydälle"_s;
inline const QString settingsTestConnection = u"Testaa yhteys"_s;
inline const QString settingsCheckUpdates = u"Tarkista päivitykset"_s;
inline const QString settingsSave = u"Tallenna asetukset"_s;
inline QString settingsVersionLabel(const QString& version, const QString& build) {
    return u"Versio "_s + version + u" (build "_s + build + u')';
}
inline QString settingsMemoStatus(const QString& status) {
    return u"Muistio-AI: "_s + status;
}
inline const QString diagnosticsGroup = u"Diagnostiikka (edistynyt)"_s;
inline const QString diagnosticsExport = u"Vie diagnostiikka"_s;
inline const QString diagnosticsRestoreCrashed = u"Palauta viime kaatunut sessio"_s;
inline const QString diagnosticsRestoring = u"Palautetaan..."_s;
inline const QString diagnosticsOpenLatest = u"Avaa viimeisin diagnoosi"_s;
inline const QString diagnosticsRevealApple = u"Näytä Finderissa"_s;
inline const QString diagnosticsReveal = u"Näytä tiedostonhallinnassa"_s;
inline const QString diagnosticsCopySupport = u"Kopioi tukiviesti"_s;
inline const QString adminUsersGroup = u"Käyttäjähallinta (admin)"_s;
inline const QString adminKeyCaption = u"Admin-avain"_s;
inline const QString adminKeyPlaceholder = u"Syötä admin-avain"_s;
inline const QString adminSaveKey = u"Tallenna avain"_s;
inline const QString adminClearKey = u"Tyhjennä avain"_s;
inline const QString adminNewUserEmail = u"email"_s;
inline const QString adminNewUserPassword = u"salasana"_s;
inline const QString adminNewUserRole = u"Rooli"_s;
inline const QString adminCreateUser = u"Luo"_s;
inline const QString adminMakeAdmin = u"Tee admin"_s;
inline const QString adminMakeUser = u"Tee user"_s;
inline const QString adminDeleteUser = u"Poista"_s;
inline const QString connectionGroup = u"Yhteysasetukset (edistynyt)"_s;
inline const QString connectionDefaultBackend = u"Oletus backend"_s;
inline const QString connectionDefaultAPIKey = u"Oletus API key"_s;
inline const QString connectionDefaultAuth = u"Oletus auth"_s;
inline const QString connectionDefaultUpdateFeed = u"Oletus päivitysfeed"_s;
inline const QString connectionAPIKeyFromClipboard = u"API key leikepöydältä"_s;
// Echo guard in mixed mode.
inline const QString settingsEchoGuard = u"Kaikusuoja (ilman kuulokkeita)"_s;
inline const QString hintEchoGuardUnavailable =
    u"Kaiunpoisto ei käynnistynyt, joten tallennus jatkuu ilman sitä: kaiuttimista mikrofoniin "
    u"kantautuva puhe voi näkyä transkriptiossa kahdesti. Käytä kuulokkeita."_s;

// Recording safety: audio held over a stream outage, the auto-stop of a forgotten recording
// and their settings.
/// Held audio was dropped at the spool's limit during an outage; `lostSeconds` rounded up.
inline QString audioSpoolLoss(qint64 lostSeconds) {
    return u"Yhteyskatkon aikana ääntä menetettiin noin "_s + QString::number(lostSeconds) +
           u" s, koska puskuri täyttyi. Muu katkon aikainen ääni lähetettiin."_s;
}
/// The notice before a silent recording stops itself.
inline QString autoStopNotice(int silenceMinutes, int secondsLeft) {
    return u"Tallennuksessa on ollut hiljaista "_s + QString::number(silenceMinutes) +
           u" min. Tallennus lopetetaan ja tallennetaan "_s + QString::number(secondsLeft) +
           u" sekunnin kuluttua."_s;
}
inline const QString autoStopKeepRecording = u"Jatka tallennusta"_s;
inline const QString autoStopStatus = u"Tallennus lopetettiin hiljaisuuden vuoksi."_s;
inline const QString safetySettingsTitle = u"Tallennuksen turva"_s;
inline const QString audioSpoolSetting =
    u"Säilytä ääni yhteyskatkon ajalta ja lähetä se myöhemmin"_s;
inline const QString autoStopSetting =
    u"Lopeta hiljainen tallennus automaattisesti (min, 0 = ei)"_s;

// Search over the open transcript and the saved sessions.
inline const QString searchLabel = u"Hae"_s;
inline const QString transcriptSearchName = u"Hae transkriptiosta"_s;
inline const QString transcriptSearchPlaceholder = u"Sana tai sanoja, Enter = seuraava"_s;
inline const QString sessionSearchName = u"Hae sessioista"_s;
inline const QString sessionSearchPlaceholder = u"Nimi, päivä tai teksti"_s;
/// The current match and the count beside the transcript's search field.
inline QString searchMatchSummary(int current, int count) {
    return QString::number(current) + u" / "_s + QString::number(count) + u" osumaa"_s;
}
// Keyboard shortcuts: the window's shortcuts, their sheet and the system-wide ones.
inline const QString shortcutsTitle = u"Pikanäppäimet"_s;
inline const QString shortcutsExplanation =
    u"Näillä näppäinyhdistelmillä ohjaat tallennusta ja haet transkriptiosta."_s;
inline const QString shortcutsShow = u"Näytä pikanäppäimet"_s;
inline const QString shortcutStartStop = u"Aloita tai lopeta tallennus"_s;
inline const QString shortcutPauseResume = u"Tauko tai jatka tallennusta"_s;
inline const QString shortcutSearch = u"Hae transkriptiosta"_s;
inline const QString shortcutSearchButton = u"Hae"_s;
/// A button's tooltip: its text and the keys that do the same.
inline QString shortcutTooltip(const QString& action, const QString& keys) {
    return action + u" ("_s + keys + u")"_s;
}
/// A row of the shortcuts sheet as a screen reader reads it.
inline QString shortcutRow(const QString& description, const QString& keys) {
    return description + u": "_s + keys;
}
inline const QString globalShortcutsAvailable =
    u"Aloita/lopeta, tauko/jatka ja pinnaus toimivat pikanäppäimillä myös silloin, kun "
    u"Vesnaran ikkuna ei ole aktiivinen."_s;
inline const QString globalShortcutsUnavailable =
    u"Järjestelmänlaajuiset pikanäppäimet eivät ole käytettävissä tällä työpöydällä: "
    u"pikanäppäimet toimivat vain Vesnaran ikkunassa."_s;

} // namespace vesnara::UiText
