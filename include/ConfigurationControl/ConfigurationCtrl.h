/** @file
 * The class behind the configuration service, with its helpers for files and paths.
 */
#ifndef CONFIGURATIONCONTROL_CONFIGURATIONCTRL_H
#define CONFIGURATIONCONTROL_CONFIGURATIONCTRL_H

#include "ConfigurationControl/CxxOnly.h"

#include <mutex>
#include <string>
#include <vector>

#include "ConfigurationControl/IConfigurationControl.h"
#include "ConfigurationControl/TicketRecords.h"

enum CONFIGURATION_SETTING : int;

/**
 * Implements IConfigurationControl on one file ticket, which it owns while it is open.
 *
 * There is one object in a process, returned by GetInstance. CAUTION: the destructor of any other object resets that
 * global instance too. Threads: as for IConfigurationControl; the static functions are safe from any thread.
 */
class CONFIGURATIONCONTROL_API CConfigurationControl : public IConfigurationControl {
 public:
    /** No ticket, no path, no observers. */
    CConfigurationControl();
    CConfigurationControl(CConfigurationControl const&) = delete;
    CConfigurationControl& operator=(CConfigurationControl const&) = delete;

    /** The object of GetConfigurationControl(). */
    static CConfigurationControl* GetInstance();

    /**
     * The table of the open ticket; with `create` it is opened from the stored path if none is open. Writes no message.
     * This object owns the table: do not write to it or destroy it. It is valid until the ticket is closed. CAUTION: a
     * callback passed to this table must not call the service; the process could hang.
     * @return null if no ticket is open
     */
    STICKET_ACCESS* GetConfigInstance(bool create);
    /** Closes the ticket without Flush; the ticket itself still saves its unsaved changes. @return always true */
    bool ReleaseConfigInstance();

    /** "/", which separates the components of keys and paths. */
    static std::string GetSeperator();
    /**
     * Splits `text` at runs of the bytes of `delimiters` and appends the tokens. A leading delimiter gives an empty
     * first token, a trailing one none; an empty text gives one empty token. The arguments may be elements of `tokens`.
     */
    static void Tokenize(std::string const& text, std::vector<std::string>& tokens, std::string const& delimiters);
    /** Creates every missing directory of `path`, with mode 0777 less the umask. Failures are not reported. */
    static void CreateSubDirectory(std::string const& path);
    /**
     * Stores the modification time of the file in `mtime`, in whole seconds since 1970; an empty file leaves it as it
     * was. @return whether the file could be opened
     */
    static bool GetModifiedFileTime(std::string& path, long& mtime);
    /** "Millimeters" (0, and every unknown number), "Centimeters", "Inches", "Meters", "Feet". */
    static std::string GetMeasureUnitName(int unit);

    bool Initialize(std::string path) override;
    bool UnInitialize() override;
    bool Flush(bool force) override;
    void AddConfigNotification(IConfigNotification* observer) override;
    bool IsConfigFileAvailable() override;
    void SetConfigFileDefaults(int language) override;

    bool GetTraceErrorRequired() override;
    void SetTraceErrorRequired(bool required) override;
    bool GetMediaWhitePointRequired() override;
    void SetMediaWhitePointRequired(bool required) override;
    bool GetIsOpenglLoadingOptimizationEnabled() override;
    void SetOpenglLoadingOptimization(bool enabled) override;
    std::string GetScreenProof() override;
    void SetScreenProof(std::string& name) override;
    int GetScreenProofID() override;
    void SetScreenProofID(int id) override;
    int GetSelectedScreenProofID() override;
    void SetSelectedScreenProofID(int id) override;
    std::string GetProductName() override;
    void SetProductName(std::string& name) override;
    std::string GetOEMName() override;
    void SetOEMName(std::string& name) override;
    double GetProductVersion() override;
    void SetProductVersion(double version) override;
    int GetLanguageSelected() override;
    void SetLanguageSelected(int language) override;
    std::string GetCurrentLanguage() override;
    void SetCurrentLanguage(std::string& code) override;
    int GetLocalMeasureUnit() override;
    void SetLocalMeasureUnit(int unit) override;
    int GetServerManagerLaunchMode() override;
    void SetServerManagerLaunchMode(int mode) override;
    std::string GetCurrentMeasure() override;
    void SetCurrentMeasure(std::string& unit) override;
    void GetJEDimensions(int& x, int& y, int& width, int& height) override;
    void SetJEDimensions(int const& x, int const& y, int const& width, int const& height) override;
    void GetSMDimensions(int& x, int& y, int& width, int& height) override;
    void SetSMDimensions(int const& x, int const& y, int const& width, int const& height) override;
    int GetLogLevel() override;
    void SetLogLevel(int level) override;
    int GetLogMode() override;
    void SetLogMode(int mode) override;
    std::string GetLoginUserName() override;
    void SetLoginUserName(std::string const& name) override;
    std::string GetLoginPassword() override;
    void SetLoginPassword(std::string const& password) override;
    std::string GetLoginServer() override;
    void SetLoginServer(std::string const& server) override;
    std::string GetPGPrinterName() override;
    void SetPGPrinterName(std::string const& name) override;
    void SetPGOutputDeviceID(int id) override;
    int GetPGOutputDeviceID() override;
    void SetPGMediaPresetID(int id) override;
    int GetPGMediaPresetID() override;
    void SetPGWorkflowPresetID(int id) override;
    int GetPGWorkflowPresetID() override;
    void SetbackupFolderLocation(std::string const& folder) override;
    std::string GetbackupFolderLocation() const override;
    void SetEnvironmentFolderLocation(std::string const& folder) override;
    std::string GetEnvironmentFolderLocation() const override;
    void SetPGOutputDeviceUniqueID(std::string const& id) override;
    std::string GetPGOutputDeviceGUniqueID() override;
    void SetPGMediaPresetUniqueID(std::string const& id) override;
    std::string GetPGMediaPresetUniqueID() override;
    void SetPGWorkflowPresetUniqueID(std::string const& id) override;
    std::string GetPGWorkflowPresetUniqueID() override;
    void SetPGUseLocalSettingsStatus(bool const& workflow, bool const& useLocal) override;
    bool GetPGUseLocalSettingsStatus(bool const& workflow) override;
    bool IsQuilletPreferredColorEditorApp() override;
    bool IsVireoVerifySupported() override;

    void Release() override;
    /** Closes the ticket without Flush; also resets the global instance. */
    ~CConfigurationControl() override;

 private:
    CONFIGURATIONCONTROL_LOCAL std::string ConfigFilePath() const;

    // One reader and one writer for each kind of value. `line` is that of the accessor, for its message.
    CONFIGURATIONCONTROL_LOCAL bool ReadFlag(CONFIGURATION_SETTING setting) const;
    CONFIGURATIONCONTROL_LOCAL int ReadInteger(CONFIGURATION_SETTING setting) const;
    CONFIGURATIONCONTROL_LOCAL double ReadVersion(CONFIGURATION_SETTING setting) const;
    CONFIGURATIONCONTROL_LOCAL std::string ReadText(CONFIGURATION_SETTING setting) const;
    CONFIGURATIONCONTROL_LOCAL std::string ReadSecret(CONFIGURATION_SETTING setting) const;
    // `first` is X; Y, width and height follow it in the table.
    CONFIGURATIONCONTROL_LOCAL void ReadWindow(CONFIGURATION_SETTING first, int& x, int& y, int& width,
                                               int& height) const;

    CONFIGURATIONCONTROL_LOCAL void WriteFlag(CONFIGURATION_SETTING setting, bool value, int line = __builtin_LINE());
    CONFIGURATIONCONTROL_LOCAL void WriteInteger(CONFIGURATION_SETTING setting, int value, int line = __builtin_LINE());
    CONFIGURATIONCONTROL_LOCAL void WriteVersion(CONFIGURATION_SETTING setting, double value,
                                                 int line = __builtin_LINE());
    CONFIGURATIONCONTROL_LOCAL void WriteText(CONFIGURATION_SETTING setting, std::string const& value,
                                              int line = __builtin_LINE());
    CONFIGURATIONCONTROL_LOCAL void WriteSecret(CONFIGURATION_SETTING setting, std::string const& value,
                                                int line = __builtin_LINE());
    CONFIGURATIONCONTROL_LOCAL void WriteWindow(CONFIGURATION_SETTING first, int x, int y, int width, int height);

    template <typename CHANGE>
    CONFIGURATIONCONTROL_LOCAL void Change(CHANGE change);

    STICKET_ACCESS const* m_ticket = nullptr;  // guarded by m_lock
    std::string m_configFilePath;              // guarded by m_pathLock
    mutable std::mutex m_lock;                 // before m_pathLock and the ticket's own mutex
    bool m_dirty = false;                      // guarded by m_lock; once set it stays
    std::vector<IConfigNotification*> m_observers;
    mutable std::mutex
        m_pathLock;  // held for copying only, so that IsConfigFileAvailable never waits for a load or save
};

#endif
