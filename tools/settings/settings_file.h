// A settings file as a store.
#pragma once

#include "base/file_descriptor.h"
#include "tools/settings/settings_store.h"

class LXMLDocument;

class SettingsFile : public SettingsStore {
public:
    explicit SettingsFile(std::string szFilePath) : szPath(std::move(szFilePath)) {}

    std::string Where() const override { return szPath; }
    void CheckSection(std::string const& szSection) const override;
    void CheckItem(std::string const& szItem) const override;
    void CheckValue(std::string const& szValue) const override;
    std::string Damage() const override;
    std::string WhyNotWritten() const override;
    std::vector<Setting> List() const override;
    bool Has(std::string const& szSection, std::optional<std::string> const& szItem) const override;
    bool IsIn(std::string const& szSection, Setting const& oSetting) const override {
        return oSetting.szSection == szSection;
    }
    bool Set(Setting const& oSetting) override;
    bool Delete(std::string const& szSection, std::optional<std::string> const& szItem) override;

private:
    // Returns what is wrong with the file's text, "" for nothing. Throws when there is a file that can't be read: it is
    // not to be taken for an empty one, and then written as that.
    std::string Read(LXMLDocument& oDocument) const;
    // A file that a full disk cuts short gets back what was in it.
    void Write(LXMLDocument const& oDocument) const;

    // Such commands lock the file's folder, for a reader stops another's write, and what one writes between another's
    // reading and writing would be lost: shared while they read, else from the first change on until this object goes.
    // The product's programs don't ask for this lock.
    LFileDescriptor Lock(int nLock) const;
    void KeepOthersOut();

    std::string szPath;
    LFileDescriptor oFolder; // locked
};
