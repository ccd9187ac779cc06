// A place where settings are kept, as the `settings` command sees it.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

struct Setting {
    std::string szSection, szItem;
    std::string szValue; // a password's in clear
    bool bPassword = false;
};

enum class SettingsPlace { Shared, Hidden, Preferences };

// Everything throws Failure where the text says so, and else does silently what the product's programs do.
class SettingsStore {
public:
    virtual ~SettingsStore() = default;

    virtual std::string Where() const = 0; // for people: a path

    // Throws where a name can't be kept there.
    virtual void CheckSection(std::string const& szSection) const = 0;
    virtual void CheckItem(std::string const& szItem) const = 0;
    virtual void CheckValue(std::string const& szValue) const = 0;

    // What stands in the way of reading all that is there, and would be lost by a change; "" for nothing. Throws where
    // nothing can be read.
    virtual std::string Damage() const = 0;
    // Why a change may not have arrived, as the end of a sentence.
    virtual std::string WhyNotWritten() const = 0;

    virtual std::vector<Setting> List() const = 0; // in the order in which they are kept
    // Whether there is the section or, in it, the item or its password, with a value or without.
    virtual bool Has(std::string const& szSection, std::optional<std::string> const& szItem) const = 0;

    // Whether a list of the section shows the setting, and deleting the section deletes it.
    virtual bool IsIn(std::string const& szSection, Setting const& oSetting) const = 0;

    // False when it did not reach the disk, as far as the store is told that.
    virtual bool Set(Setting const& oSetting) = 0;
    virtual bool Delete(std::string const& szSection, std::optional<std::string> const& szItem) = 0;

    std::optional<std::string> Get(std::string const& szSection, std::string const& szItem, bool bPassword) const;

protected:
    // A password is kept, protected, in an item of its own.
    static constexpr char kPasswordPrefix[] = "__";
    static void CheckIsNoPasswordItem(std::string const& szItem);
    static Setting FromStored(std::string const& szSection, std::string const& szItem, char const* szStored);
};

// Throws when the store's folder can't be had.
std::unique_ptr<SettingsStore> OpenSettings(SettingsPlace nPlace);
