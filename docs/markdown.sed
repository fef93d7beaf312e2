# Turns a page that reads well in the repository into one that Doxygen reads.

# The comment before the link to a snippet's source becomes the snippet.
s#^<!-- (\\snippet.*) -->$#\1#
# That source is a page of its own.
s#\]\(snippets/([a-z]+)\.cpp\)#](\1_8cpp-example.html)#g
s#\]\(snippets/\)#](examples.html)#g
# A public header becomes the class in it, and all else outside of docs/ plain text.
s#\]\(\.\./moraine/text/WideChar\.h\)#](@ref WideChar.h)#g
s#\]\(\.\./moraine/extras/Utf8\.h\)#](@ref Utf8.h)#g
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
