// A shared object as large as the bundle, whose file it carries as data, with an initialiser that does nothing.
__asm__(".section .rodata\n.incbin \"" LUMORA_BUNDLE_OBJECT "\"\n.text");

namespace {

struct Empty {
    Empty() { __asm__ volatile(""); }
    ~Empty() { __asm__ volatile(""); }
} const gEmpty;

} // namespace
