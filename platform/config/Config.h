#pragma once
// The platform configuration: one INI file of sections and "key = value" lines shared by the services
// of an installation. The file is $TASKDB_PLATFORM_CONFIG when that is set and not empty, else
// /etc/taskdb/platform.ini.
//
// A focus names the installation (instance) whose values are read. A section "[<focus>:<section>]"
// holds that instance's own values and is searched before the plain "[<section>]".
//
// A missing file, section or key is a "cannot read" answer (false), never an exception; a malformed
// file is traced once per change with its path and line and reads as empty. The parsed file is shared
// by the whole process and read again when its size, time or inode change.
// Every function may be called from any thread.
#include <string>

#include "platform/PlatformExport.h"

// The file read when the environment names none.
constexpr const char KO_PLATFORM_CONFIG_PATH[] = "/etc/taskdb/platform.ini";
// The environment variable naming another file.
constexpr const char KO_PLATFORM_CONFIG_ENV[] = "TASKDB_PLATFORM_CONFIG";

class KO_PLATFORM_API KOPI_Focus {
  public:
    // The focus of this process: $TASKDB_FOCUS when set and not empty, else "Instance001".
    static std::string getFocus();
};

class KO_PLATFORM_API KOPlatformInfo {
  public:
    // Focused on KOPI_Focus::getFocus().
    KOPlatformInfo();

    // Reads the values of `focus` from now on; false (and the focus unchanged) for an empty name.
    bool setFocus(const std::string& focus);
    const std::string& getFocusName() const { return m_focus; }

    // The path of the configuration file this process reads.
    static std::string configPath();

    // True with `value` set when the key exists; false and `value` unchanged otherwise.
    bool getString(const std::string& section, const std::string& key, std::string& value) const;
    // True with `*value` set when the key holds a decimal number from 0 to 4294967295 (blanks around it
    // allowed); false and `*value` unchanged otherwise, a value that is not such a number traced.
    bool getNumber(const std::string& section, const std::string& key, unsigned int* value) const;
    // Whether this machine is a cloud laptop client: "sCloudLaptopClient" of section "Base" is a
    // non-zero number.
    bool IsCloudLaptopClient() const;

  private:
    std::string m_focus;
};
