#pragma once

#include "xml_reader.h"

// A megabyte of records is written call by call, to memory or to a new file.

namespace bench {

struct Target {
    bool toFile;
    bool indented;
};

/// A call of a writer: '<' and '>' begin and end an element, '=' is an attribute, '"' a text, '!' a comment.
struct Call {
    char what;
    std::u16string name = {};
    std::u16string text = {};
};

/// The calls that write a few records with what a table has: keys, names, numbers, prose.
const std::vector<Call>& calls();

std::string utf8(const std::u16string& text);

/// Adds `Writer`, made with a path or null and with whether to indent, as a way to write. Its `form(text)` is the form
/// in which it takes texts.
template <class Writer>
struct Writing : Way<Target> {
    explicit Writing(const char* library)
        : Way("writer", library, [](const Target& target) {
              using Form = decltype(Writer::form(u""));
              std::vector<std::pair<Form, Form>> forms;
              for (const Call& call : calls()) {
                  forms.emplace_back(Writer::form(call.name), Writer::form(call.text));
              }
              const std::string path = target.toFile ? temporaryFile("written.xml") : "";
              return Column{[=, root = Writer::form(u"records"), indented = target.indented](Sink& sink) {
                  Writer writer(path.empty() ? nullptr : path.c_str(), indented);
                  writer.start(root);
                  for (int round = 0; round < 72; ++round) {  // a megabyte without indentation
                      for (std::size_t i = 0; i < forms.size(); ++i) {
                          make(writer, calls()[i].what, forms[i].first, forms[i].second);
                      }
                  }
                  writer.end();
                  writer.close();
                  if (sink.keeps) {
                      // What the document holds, however it is laid out.
                      ways<Document>("reader")["moraine"]({writer.bytes(), path}).run(sink);
                  }
              }};
          }) {}

private:
    template <class Form>
    static void make(Writer& writer, char what, const Form& name, const Form& text) {
        switch (what) {
            case '<':
                return writer.start(name);
            case '=':
                return writer.attribute(name, text);
            case '"':
                return writer.text(text);
            case '!':
                return writer.comment(text);
            default:
                return writer.end();
        }
    }
};

}  // namespace bench
