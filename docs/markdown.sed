# Turns a page that reads well in the repository into one that Doxygen reads.

# Doxygen decodes entities in code as well.
:entity
s/^(([^`]*`[^`]*`)*[^`]*`[^`]*)&(([a-z]+|#[0-9a-fx]+);)/\1\x01\3/
t entity
s/\x01/\&amp;/g
# That source is a page of its own.
s#\]\(snippets/([a-z]+)\.cpp\)#](\1_8cpp-example.html)#g
s#\]\(snippets/\)#](examples.html)#g
# A public header becomes the class in it, and all else outside of docs/ plain text.
s#\]\(\.\./moraine/text/WideChar\.h\)#](@ref WideChar.h)#g
s#\]\(\.\./moraine/extras/(Utf8|Tree|Files)\.h\)#](@ref \1.h)#g
:header
/\]\(\.\.\/moraine\/([a-zA-Z]+\/)+[a-zA-Z0-9]+\.h\)/ {
    /\.\.\/moraine\/platform\// b outside
    s#\]\(\.\./(moraine/[a-zA-Z0-9/]+)\.h\)#](@ref @@\1)#
    :slash
    s#@@([a-zA-Z0-9:]+)/#@@\1::#
    t slash
    s#@@##
    b header
}
:outside
s#\[([^]]*)\]\(\.\./[^)]*\)#\1#g
