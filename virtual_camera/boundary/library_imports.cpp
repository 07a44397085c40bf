#include "boundary/library_imports.h"

#include <cstdint>
#include <cstring>
#include <elf.h>
#include <link.h>
#include <sys/mman.h>
#include <unistd.h>

namespace vcam {

namespace {
struct Import {
    const char *libraryName;
    const char *symbol;
    void *replacement;
    bool isReplaced;
};

/// The parts of a loaded library's dynamic section that say where its imports are bound.
struct DynamicSection {
    const ElfW(Sym) * symbols;
    const char *names;
    uintptr_t calls; ///< Relocations of the procedure linkage table.
    size_t callsSize;
    uintptr_t others; ///< All other relocations; a library may be built without that table.
    size_t othersSize;
    size_t entrySize;
};
} // namespace

static DynamicSection readDynamic(const ElfW(Dyn) * entry) {
    DynamicSection section = {};
    for (; entry->d_tag != DT_NULL; ++entry) {
        const auto address = static_cast<uintptr_t>(entry->d_un.d_ptr);
        switch (entry->d_tag) {
        case DT_SYMTAB:
            section.symbols = reinterpret_cast<const ElfW(Sym) *>(address);
            break;
        case DT_STRTAB:
            section.names = reinterpret_cast<const char *>(address);
            break;
        case DT_JMPREL:
            section.calls = address;
            break;
        case DT_PLTRELSZ:
            section.callsSize = entry->d_un.d_val;
            break;
        case DT_RELA:
        case DT_REL:
            section.others = address;
            break;
        case DT_RELASZ:
        case DT_RELSZ:
            section.othersSize = entry->d_un.d_val;
            break;
        case DT_RELAENT:
        case DT_RELENT:
            section.entrySize = entry->d_un.d_val;
            break;
        default:
            break;
        }
    }
    return section;
}

/// The slots are read-only once a library has been bound.
static void writeSlot(void **slot, void *value) {
    const auto pageSize = static_cast<uintptr_t>(sysconf(_SC_PAGESIZE));
    const uintptr_t page = reinterpret_cast<uintptr_t>(slot) & ~(pageSize - 1);
    if (mprotect(reinterpret_cast<void *>(page), pageSize, PROT_READ | PROT_WRITE) == 0)
        *slot = value;
}

static uint32_t findSymbolIndex(const ElfW(Rel) & relocation) {
#if __ELF_NATIVE_CLASS == 64
    return static_cast<uint32_t>(ELF64_R_SYM(relocation.r_info));
#else
    return ELF32_R_SYM(relocation.r_info);
#endif
}

/// Both kinds of relocation entries begin with the place and the symbol, which is all that counts.
static void replaceIn(const DynamicSection &section, uintptr_t table, size_t size, uintptr_t base,
                      Import &import) {
    const bool isComplete =
        section.symbols != nullptr && section.names != nullptr && section.entrySize != 0;
    if (!isComplete)
        return;
    for (uintptr_t at = table; at < table + size; at += section.entrySize) {
        const auto &relocation = *reinterpret_cast<const ElfW(Rel) *>(at);
        const ElfW(Sym) &symbol = section.symbols[findSymbolIndex(relocation)];
        if (strcmp(section.names + symbol.st_name, import.symbol) != 0)
            continue;
        writeSlot(reinterpret_cast<void **>(base + relocation.r_offset), import.replacement);
        import.isReplaced = true;
    }
}

static int visitLibrary(struct dl_phdr_info *library, size_t, void *context) {
    Import &import = *static_cast<Import *>(context);
    if (strstr(library->dlpi_name, import.libraryName) == nullptr)
        return 0;
    for (int i = 0; i < library->dlpi_phnum; ++i) {
        if (library->dlpi_phdr[i].p_type != PT_DYNAMIC)
            continue;
        const uintptr_t base = library->dlpi_addr;
        const DynamicSection section =
            readDynamic(reinterpret_cast<const ElfW(Dyn) *>(base + library->dlpi_phdr[i].p_vaddr));
        replaceIn(section, section.calls, section.callsSize, base, import);
        replaceIn(section, section.others, section.othersSize, base, import);
    }
    return 1;
}

bool replaceImport(const char *libraryName, const char *symbol, void *replacement) {
    Import import = {libraryName, symbol, replacement, false};
    dl_iterate_phdr(visitLibrary, &import);
    return import.isReplaced;
}

} // namespace vcam
