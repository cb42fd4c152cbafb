# Converts the plain comments of this project's headers to comments of Doxygen:
#
#   - a comment above declarations belongs to each of them, up to the next blank line or comment, but not to
#     destructors and to declarations with a comment of their own;
#   - a comment at the end of a line belongs to the declaration in that line;
#   - the first comment of a file belongs to the file;
#   - indented lines of a comment are code.
#
# Bodies of functions and deleted functions are not part of the reference.

function indent_of(line) { match(line, /^ */); return RLENGTH }

# Escapes characters that have a meaning for Doxygen. It ignores them between quotes.
function escape(text,   result, i, c) {
  result = ""
  for (i = 1; i <= length(text); i++) {
    c = substr(text, i, 1)
    if (c == "\"") is_quoted = !is_quoted
    result = result (!is_quoted && index("\\@#%&<>", c) ? "\\" : "") c
  }
  return result
}

function emit(text, indent) { printf "%*s///%s\n", indent, "", text == "" ? "" : " " text }

function emit_comment(indent,   i, in_code, text) {
  in_code = is_quoted = 0
  for (i = 1; i <= comment_size; i++) {
    text = comment[i]
    if (!in_code && text ~ /^  +[^ ]/) { emit("@code{.cpp}", indent); in_code = 1 }
    else if (in_code && text ~ /^[^ ]/) { emit("@endcode", indent); in_code = 0 }
    emit(in_code ? text : escape(text), indent)
  }
  if (in_code) emit("@endcode", indent)
}

# Counts braces, to find out whether the next line is in the body of a function.
function follow_braces(line,   i, c, body) {
  gsub(/\/\/.*/, "", line)
  gsub(/'.'|"[^"]*"/, "", line)
  statement = statement " " line
  for (i = 1; i <= length(line); i++) {
    c = substr(line, i, 1)
    if (c == "{") {
      body = in_body() || statement !~ /(^| )(class|struct|enum|namespace|union) |extern *[{]/
      is_body[++depth] = body
      statement = ""
    } else if (c == "}") {
      depth--
      statement = ""
    } else if (c == ";") {
      statement = ""
    }
  }
}
function in_body() { return depth > 0 && is_body[depth] }

BEGIN { depth = 0; comment_size = 0; collecting = 0; is_first = 1; in_macro = 0; statement = "" }

!in_body() && /^ *\/\/( |$)/ {
  if (!collecting) { comment_size = 0; comment_indent = indent_of($0) }
  collecting = 1
  text = $0
  sub(/^ *\/\/ ?/, "", text)
  if (text !~ /^---- /) comment[++comment_size] = text
  next
}

/^$/ {
  if (collecting && is_first && comment_size > 0) {
    emit("@file", 0)
    emit_comment(0)
    is_first = 0
  }
  collecting = 0
  comment_size = 0
  print
  next
}

# Labels, and macros of several lines.
/^ *(public|private|protected):/ { print; next }
in_macro { in_macro = /\\$/; print; next }
/^#/ {
  if (collecting && /^#define/) emit_comment(0)
  collecting = 0
  in_macro = /\\$/
  print
  next
}

{
  starts = statement ~ /^ *$/ && $0 !~ /^ *}/
  if (!in_body() && starts && comment_size > 0 && indent_of($0) == comment_indent &&
      (collecting || $0 !~ /~|  \/\/ /) && $0 !~ /= delete;/) {
    emit_comment(comment_indent)
  }
  collecting = 0
  was_in_body = in_body()
  line = $0
  follow_braces(line)
  if (line ~ /^ *[^ ].*= delete;/) next
  if (!was_in_body && line !~ /^ *}/ && match(line, /  \/\/ .*/)) {
    text = substr(line, RSTART + 5)
    is_quoted = 0
    line = substr(line, 1, RSTART - 1) "  ///< " escape(text)
  }
  print line
}
