#include "platform/foundation/symbol.h"

#include <cxxabi.h>
#include <dlfcn.h>
#include <elf.h>
#include <fcntl.h>
#include <link.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <span>

namespace {

// A file mapped to be read; empty when it can't be.
class MappedFile {
public:
    explicit MappedFile(char const* szPath) {
        int const hFile = open(szPath, O_RDONLY | O_CLOEXEC);
        struct stat oStatus;
        if (hFile >= 0 && fstat(hFile, &oStatus) == 0 && oStatus.st_size > 0) {
            void* const p = mmap(nullptr, static_cast<std::size_t>(oStatus.st_size), PROT_READ, MAP_PRIVATE, hFile, 0);
            if (p != MAP_FAILED)
                lBytes = {static_cast<char const*>(p), static_cast<std::size_t>(oStatus.st_size)};
        }
        if (hFile >= 0)
            close(hFile);
    }
    ~MappedFile() {
        if (!lBytes.empty())
            munmap(const_cast<char*>(lBytes.data()), lBytes.size());
    }
    MappedFile(MappedFile const&) = delete;
    MappedFile& operator=(MappedFile const&) = delete;

    // `nCount` records at an offset; none when they are not all there, or not where such records may be.
    template <class Record>
    std::span<Record const> At(std::uint64_t nOffset, std::uint64_t nCount) const {
        if (nOffset > lBytes.size() || nCount > (lBytes.size() - nOffset) / sizeof(Record) ||
            nOffset % alignof(Record) != 0)
            return {};
        return {reinterpret_cast<Record const*>(lBytes.data() + nOffset), static_cast<std::size_t>(nCount)};
    }

private:
    std::span<char const> lBytes;
};

struct Found {
    std::string szName;
    std::uint64_t nStart = 0;
};

using Sections = std::span<ElfW(Shdr) const>;

Sections SectionsOf(MappedFile const& oFile) {
    auto const lHeader = oFile.At<ElfW(Ehdr)>(0, 1);
    if (lHeader.empty() || std::memcmp(lHeader[0].e_ident, ELFMAG, SELFMAG) != 0)
        return {};
    return oFile.At<ElfW(Shdr)>(lHeader[0].e_shoff, lHeader[0].e_shnum);
}

// The function of one symbol table that an address of the file lies in.
Found FindIn(MappedFile const& oFile, ElfW(Shdr) const& oTable, Sections lSections, std::uint64_t nAddress) {
    if (oTable.sh_link >= lSections.size())
        return {};
    auto const& oStrings = lSections[oTable.sh_link];
    auto const lStrings = oFile.At<char>(oStrings.sh_offset, oStrings.sh_size);
    for (auto const& oSymbol : oFile.At<ElfW(Sym)>(oTable.sh_offset, oTable.sh_size / sizeof(ElfW(Sym)))) {
        bool const bHit = ELF64_ST_TYPE(oSymbol.st_info) == STT_FUNC && nAddress >= oSymbol.st_value &&
                          nAddress - oSymbol.st_value < oSymbol.st_size;
        if (!bHit || oSymbol.st_name >= lStrings.size())
            continue;
        char const* const szName = lStrings.data() + oSymbol.st_name;
        return {{szName, strnlen(szName, lStrings.size() - oSymbol.st_name)}, oSymbol.st_value};
    }
    return {};
}

Found FindInFile(char const* szPath, std::uint64_t nAddress) {
    MappedFile const oFile(szPath);
    Sections const lSections = SectionsOf(oFile);
    for (auto const nType : {SHT_SYMTAB, SHT_DYNSYM})
        for (auto const& oSection : lSections)
            if (oSection.sh_type == static_cast<ElfW(Word)>(nType))
                if (Found oFound = FindIn(oFile, oSection, lSections, nAddress); !oFound.szName.empty())
                    return oFound;
    return {};
}

std::string Demangled(std::string const& szName) {
    int nStatus = 0;
    std::unique_ptr<char, void (*)(void*)> const szText(abi::__cxa_demangle(szName.c_str(), nullptr, nullptr, &nStatus),
                                                        std::free);
    return szText ? szText.get() : szName;
}

} // namespace

Symbol SymbolOf(std::uintptr_t nAddress) {
    // A call that never returns may be the last of its function: the address behind it is another's.
    std::uintptr_t const nInside = nAddress - 1;
    Dl_info oInfo;
    link_map* pImage = nullptr;
    if (!dladdr1(reinterpret_cast<void*>(nInside), &oInfo, reinterpret_cast<void**>(&pImage), RTLD_DL_LINKMAP))
        return {"???", "0x0", nAddress};
    bool const bProgram = pImage->l_name[0] == '\0'; // the loader knows it by no name
    char szProgram[4096] = "";
    if (bProgram && readlink("/proc/self/exe", szProgram, sizeof szProgram - 1) < 0)
        szProgram[0] = '\0';
    std::string const szPath = bProgram ? szProgram : pImage->l_name;
    std::string const szImage = szPath.substr(szPath.rfind('/') + 1);
    if (Found const oFound = FindInFile(bProgram ? "/proc/self/exe" : szPath.c_str(), nInside - pImage->l_addr);
        !oFound.szName.empty())
        return {szImage, Demangled(oFound.szName), nAddress - pImage->l_addr - oFound.nStart};
    char szBase[32];
    std::snprintf(szBase, sizeof szBase, "%p", oInfo.dli_fbase);
    return {szImage, szBase, nAddress - reinterpret_cast<std::uintptr_t>(oInfo.dli_fbase)};
}
