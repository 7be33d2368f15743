# Makes OUTPUT, C++ with the page of FOLDER/report.html in two constants, before and after its data.
# Style and script are put into the page, and their hashes, as a content security policy spells
# them, into its head: the browser then runs no other.
# Usage: cmake -D FOLDER=... -D OUTPUT=... -P EmbedPage.cmake

# Three hexadecimal digits are two of base64.
function(hash_of text result)
  set(digits ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/)
  string(SHA256 hash "${text}")
  string(REGEX MATCHALL "..." groups "${hash}00")
  foreach(group ${groups})
    math(EXPR high "0x${group} / 64")
    math(EXPR low "0x${group} % 64")
    string(SUBSTRING ${digits} ${high} 1 first)
    string(SUBSTRING ${digits} ${low} 1 second)
    string(APPEND encoded ${first}${second})
  endforeach()
  string(REGEX REPLACE "A$" "=" encoded ${encoded})  # the 32nd byte ends inside the last three
  set(${result} "sha256-${encoded}" PARENT_SCOPE)
endfunction()

file(READ ${FOLDER}/report.css style)
file(READ ${FOLDER}/report.js script)
file(READ ${FOLDER}/report.html page)
hash_of("${style}" style_hash)
hash_of("${script}" script_hash)
string(REPLACE "@STYLE_HASH@" "${style_hash}" page "${page}")
string(REPLACE "@SCRIPT_HASH@" "${script_hash}" page "${page}")
string(REPLACE "@STYLE@" "${style}" page "${page}")
string(REPLACE "@SCRIPT@" "${script}" page "${page}")
string(REPLACE "@DATA@" ")page\";\nconst std::string_view PAGE_AFTER_DATA = R\"page(" page "${page}")
file(WRITE ${OUTPUT} "#include \"inspect/reportpage.h\"

const std::string_view PAGE_BEFORE_DATA = R\"page(${page})page\";
")
