#include <tinyxml2.h>

#include "../xml_writer.h"

namespace {

class Tinyxml2 {
public:
    static std::string form(const std::u16string& text) { return bench::utf8(text); }

    Tinyxml2(const char* path, bool indented)
        : file(path != nullptr ? std::fopen(path, "wb") : nullptr, std::fclose), printer(file.get(), !indented) {
        printer.PushHeader(false, true);
    }
    void start(const std::string& name) { printer.OpenElement(name.c_str()); }
    void attribute(const std::string& name, const std::string& value) {
        printer.PushAttribute(name.c_str(), value.c_str());
    }
    void text(const std::string& value) { printer.PushText(value.c_str()); }
    void comment(const std::string& value) { printer.PushComment(value.c_str()); }
    void end() { printer.CloseElement(); }
    void close() { file.reset(); }
    std::string bytes() const { return printer.CStr(); }

private:
    /// With two blanks a level, as the others have.
    class Printer : public tinyxml2::XMLPrinter {
    public:
        Printer(std::FILE* target, bool compact) : XMLPrinter(target, compact) {}
        void PrintSpace(int depth) override {
            for (int i = 0; i < depth; ++i) {
                Write("  ", 2);
            }
        }
    };
    std::unique_ptr<std::FILE, int (*)(std::FILE*)> file;
    Printer printer;
};

const bench::Writing<Tinyxml2> way("tinyxml2");

}  // namespace
