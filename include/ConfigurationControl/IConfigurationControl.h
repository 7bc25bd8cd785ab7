/** @file
 * The configuration service: the persistent settings of the application.
 */
#ifndef CONFIGURATIONCONTROL_ICONFIGURATIONCONTROL_H
#define CONFIGURATIONCONTROL_ICONFIGURATIONCONTROL_H

#include "ConfigurationControl/CxxOnly.h"

#include <string>

#include "ConfigurationControl/Export.h"

/** An observer of the configuration, defined by the host. This library only stores pointers to observers. */
class IConfigNotification;

/**
 * Reads and writes the persistent settings of the application. Obtained from GetConfigurationControl().
 *
 * Each setting is one key of a ticket that is bound to the configuration file. Between Initialize and UnInitialize the
 * ticket is open. Without one, getters return a fixed value, and setters do nothing and write no message. Getters
 * report no failure: they return a second fixed value if the key is absent, holds another type, or memory is exhausted;
 * but getters of text, and Initialize, may throw std::bad_alloc. Each getter below names its key and these two values;
 * if it names none, both are 0, false or "".
 *
 * Setters report nothing. Most write a message of level 6, with the value in it, to the host's logger. Text is stored
 * up to its first NUL. The non-const string references are inputs; they stay unchanged.
 *
 * Any thread may call any operation except AddConfigNotification and Release: one mutex serialises all access. An
 * exception from the host's logger unlocks the mutex and passes to the caller.
 *
 * The operations and their order are the binary interface: new ones go into CConfigurationControl, not here.
 */
class CONFIGURATIONCONTROL_API IConfigurationControl {
 public:
    /**
     * Opens the configuration file; nothing is read until the first access. Writes the path to the logger, level 6. An
     * empty path writes a message of level 1 and keeps the path of an earlier call; if there was none, the ticket has
     * no file and is never saved. If a ticket is already open, the path is only stored for the next Initialize.
     * @return whether a ticket is open; if not, a message of level 1 is written
     */
    virtual bool Initialize(std::string path) = 0;
    /**
     * Saves as Flush(true), then closes the ticket. Initialize opens it again. CAUTION: ends the process while the
     * ticket holds an infinite number, see SetProductVersion. @return always true
     */
    virtual bool UnInitialize() = 0;
    /**
     * Saves the settings to the file: with `force` if the ticket holds unsaved changes, without it only once a setter
     * has been used. @return always true, also if the save failed
     */
    virtual bool Flush(bool force) = 0;
    /** Stores an observer, which may be null or a duplicate. It is never called and never deleted. Takes no lock. */
    virtual void AddConfigNotification(IConfigNotification* observer) = 0;
    /** Whether the file of the stored path can be opened for reading. */
    virtual bool IsConfigFileAvailable() = 0;
    /**
     * Sets language, product name ("OKT_Vireo_ZR"), product version (7.0) and error tracing (off) to what a new
     * installation has; always on the process-wide object, even if this is another one.
     */
    virtual void SetConfigFileDefaults(int language) = 0;

    /** "Product/TraceErrorRequired". */
    virtual bool GetTraceErrorRequired() = 0;
    /** Stores "Product/TraceErrorRequired"; no message. */
    virtual void SetTraceErrorRequired(bool required) = 0;
    /** "Option/MediaWhitePoint". */
    virtual bool GetMediaWhitePointRequired() = 0;
    /** Stores "Option/MediaWhitePoint"; no message. */
    virtual void SetMediaWhitePointRequired(bool required) = 0;
    /** "Product/OptimizeOpenglLoading". */
    virtual bool GetIsOpenglLoadingOptimizationEnabled() = 0;
    /** Stores "Product/OptimizeOpenglLoading"; no message. */
    virtual void SetOpenglLoadingOptimization(bool enabled) = 0;
    /** "Option/Screenproof" as text; "" while the setter of the ID ran last. */
    virtual std::string GetScreenProof() = 0;
    /** Stores "Option/Screenproof" as text, in place of the ID; no message. */
    virtual void SetScreenProof(std::string& name) = 0;
    /** "Option/Screenproof" as number. -1 without a ticket; 0 if absent or while SetScreenProof ran last. */
    virtual int GetScreenProofID() = 0;
    /** Stores "Option/Screenproof" as number, in place of the text. */
    virtual void SetScreenProofID(int id) = 0;
    /** "Option/SelectedOption". -1 without a ticket, 0 if absent. */
    virtual int GetSelectedScreenProofID() = 0;
    /** Stores "Option/SelectedOption". */
    virtual void SetSelectedScreenProofID(int id) = 0;

    /** "Product/Name". */
    virtual std::string GetProductName() = 0;
    /** Stores "Product/Name". */
    virtual void SetProductName(std::string& name) = 0;
    /** "Product/OEM", the maker's label. */
    virtual std::string GetOEMName() = 0;
    /** Stores "Product/OEM". */
    virtual void SetOEMName(std::string& name) = 0;
    /**
     * "Product/Version", cut to the whole number towards 0: 7.5 reads as 7.0. Beyond the range of an int it reads as
     * the nearest bound, NaN as -2147483648. -1.0 without a ticket, 0.0 if absent.
     */
    virtual double GetProductVersion() = 0;
    /**
     * Stores "Product/Version", with its fraction. CAUTION: a file cannot hold an infinite version. Every save fails
     * while it is there, and the save at the ticket's end, in Release and UnInitialize, ends the process.
     */
    virtual void SetProductVersion(double version) = 0;

    /** "Language/SelectedID". -1 without a ticket, 0 if absent. */
    virtual int GetLanguageSelected() = 0;
    /** Stores "Language/SelectedID". */
    virtual void SetLanguageSelected(int language) = 0;
    /** "Language/LangCode". */
    virtual std::string GetCurrentLanguage() = 0;
    /** Stores "Language/LangCode". */
    virtual void SetCurrentLanguage(std::string& code) = 0;

    /** "Locale/Measure": 0 mm, 1 cm, 2 inches, 3 metres, 4 feet. -1 without a ticket and if absent. */
    virtual int GetLocalMeasureUnit() = 0;
    /** Stores "Locale/Measure", and in "Locale/Measure_Values" a text for readers of the file. */
    virtual void SetLocalMeasureUnit(int unit) = 0;
    /** "SM/LaunchMode". */
    virtual int GetServerManagerLaunchMode() = 0;
    /** Stores "SM/LaunchMode". */
    virtual void SetServerManagerLaunchMode(int mode) = 0;
    /** The name of GetLocalMeasureUnit's unit, "Millimeters" for an unknown one. Does not read what the setter wrote.
     */
    virtual std::string GetCurrentMeasure() = 0;
    /** Stores "Locale/MeasureUnit", which no getter reads. */
    virtual void SetCurrentMeasure(std::string& unit) = 0;

    /**
     * Place and size of the job editor's window: "JE/X", "JE/Y", "JE/Width" and "JE/Height", each 0 if absent; a
     * negative size gives 0. Without a ticket the size is 0 and the place is left as it was.
     */
    virtual void GetJEDimensions(int& x, int& y, int& width, int& height) = 0;
    /** Stores the four "JE/..." keys; no message. */
    virtual void SetJEDimensions(int const& x, int const& y, int const& width, int const& height) = 0;
    /** Place and size of the server manager's window, "SM/..."; otherwise as GetJEDimensions. */
    virtual void GetSMDimensions(int& x, int& y, int& width, int& height) = 0;
    /** Stores the four "SM/..." keys of the window; no message. */
    virtual void SetSMDimensions(int const& x, int const& y, int const& width, int const& height) = 0;

    /** "Log/Level". -1 without a ticket, 3 if absent. */
    virtual int GetLogLevel() = 0;
    /** Stores "Log/Level"; no message. */
    virtual void SetLogLevel(int level) = 0;
    /** "Log/Mode". -1 without a ticket, 1 if absent. */
    virtual int GetLogMode() = 0;
    /** Stores "Log/Mode"; no message. */
    virtual void SetLogMode(int mode) = 0;

    /** "Login/User". */
    virtual std::string GetLoginUserName() = 0;
    /** Stores "Login/User". */
    virtual void SetLoginUserName(std::string const& name) = 0;
    /** "Login/Password", NUL bytes included. */
    virtual std::string GetLoginPassword() = 0;
    /**
     * Stores "Login/Password", NUL bytes included. CAUTION: in clear text, in the file and in the message to the
     * logger.
     */
    virtual void SetLoginPassword(std::string const& password) = 0;
    /** "Login/Server". */
    virtual std::string GetLoginServer() = 0;
    /** Stores "Login/Server". */
    virtual void SetLoginServer(std::string const& server) = 0;

    /** "Pressgate/PrinterName". */
    virtual std::string GetPGPrinterName() = 0;
    /** Stores "Pressgate/PrinterName". */
    virtual void SetPGPrinterName(std::string const& name) = 0;
    /** Stores "Pressgate/OutputDevice/ID". */
    virtual void SetPGOutputDeviceID(int id) = 0;
    /** "Pressgate/OutputDevice/ID". */
    virtual int GetPGOutputDeviceID() = 0;
    /** Stores "Pressgate/Media/ID". */
    virtual void SetPGMediaPresetID(int id) = 0;
    /** "Pressgate/Media/ID". */
    virtual int GetPGMediaPresetID() = 0;
    /** Stores "Pressgate/Workflow/ID". */
    virtual void SetPGWorkflowPresetID(int id) = 0;
    /** "Pressgate/Workflow/ID". */
    virtual int GetPGWorkflowPresetID() = 0;

    /** Stores "SM/BackupFolderLocation". */
    virtual void SetbackupFolderLocation(std::string const& folder) = 0;
    /** "SM/BackupFolderLocation". */
    virtual std::string GetbackupFolderLocation() const = 0;
    /** Stores "SM/EnvironmentFolderLocation". */
    virtual void SetEnvironmentFolderLocation(std::string const& folder) = 0;
    /** "SM/EnvironmentFolderLocation". */
    virtual std::string GetEnvironmentFolderLocation() const = 0;

    /** Stores "Pressgate/OutputDevice/UniqueID". */
    virtual void SetPGOutputDeviceUniqueID(std::string const& id) = 0;
    /** "Pressgate/OutputDevice/UniqueID". */
    virtual std::string GetPGOutputDeviceGUniqueID() = 0;
    /** Stores "Pressgate/Media/UniqueID". */
    virtual void SetPGMediaPresetUniqueID(std::string const& id) = 0;
    /** "Pressgate/Media/UniqueID". */
    virtual std::string GetPGMediaPresetUniqueID() = 0;
    /** Stores "Pressgate/Workflow/UniqueID". */
    virtual void SetPGWorkflowPresetUniqueID(std::string const& id) = 0;
    /** "Pressgate/Workflow/UniqueID". */
    virtual std::string GetPGWorkflowPresetUniqueID() = 0;
    /** Stores "Pressgate/Workflow/UseLocalSettings" or, with `workflow` false, "Pressgate/Media/UseLocalSettings". */
    virtual void SetPGUseLocalSettingsStatus(bool const& workflow, bool const& useLocal) = 0;
    /** "Pressgate/Workflow/UseLocalSettings" or, with `workflow` false, "Pressgate/Media/UseLocalSettings". */
    virtual bool GetPGUseLocalSettingsStatus(bool const& workflow) = 0;

    /** "ColorEditor/LaunchQuillet". */
    virtual bool IsQuilletPreferredColorEditorApp() = 0;
    /** "Option/VireoVerify". False without a ticket, true if absent. */
    virtual bool IsVireoVerifySupported() = 0;

    /**
     * UnInitialize, then deletes this object. Only for objects of GetConfigurationControl() (or of `new`). The caller
     * ensures that no other call is under way or follows. CAUTION: as UnInitialize.
     */
    virtual void Release() = 0;

    /** Closes the ticket without Flush; the ticket itself still saves its unsaved changes. Hosts use Release. */
    virtual ~IConfigurationControl() = default;
};

/**
 * Returns the process-wide configuration object, created by the first call, without an open ticket. The library owns
 * it, until Release. Safe from any thread.
 */
CONFIGURATIONCONTROL_API IConfigurationControl* GetConfigurationControl();

#endif
