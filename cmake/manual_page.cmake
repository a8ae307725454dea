# Makes a manual page of section 5 from a document:
#   cmake -D lowdown=PROGRAM -D name=NAME -D purpose=TEXT -D version=VERSION -D see_also=NAMES -D document=FILE.md
#         -D page=FILE.5 -P manual_page.cmake
file(READ ${document} text)
# The heading is the page's name; links to other documents lead nowhere from a manual page.
string(REGEX REPLACE "^# [^\n]*\n" "" text "${text}")
string(REGEX REPLACE "\\[([^]\n]*)\\]\\([^)\n]*\\)" "\\1" text "${text}")
string(REGEX REPLACE "(docs/)?simulator\\.md" "quorrin-reader(5)" text "${text}")
string(REGEX REPLACE "(docs/)?traces\\.md" "quorrin-trace(5)" text "${text}")
string(REGEX REPLACE "(docs/)?card-profiles\\.md" "quorrin-card-profile(5)" text "${text}")
string(TOUPPER ${name} title)
string(REPLACE "," ", " see_also "${see_also}")
file(WRITE ${page}.md "title: ${title}\nsection: 5\nsource: Quorrin ${version}\nvolume: Payment cards\n\n"
  "# NAME\n\n${name} - ${purpose}\n\n# DESCRIPTION\n\n${text}\n\n# SEE ALSO\n\n${see_also}\n")
execute_process(COMMAND ${lowdown} -s -Tman -o ${page} ${page}.md COMMAND_ERROR_IS_FATAL ANY)
# A heading stands on the line of its macro, where programs that list manual pages look for it.
file(READ ${page} troff)
string(REGEX REPLACE "(\n\\.S[HS])\n" "\\1 " troff "${troff}")
# Names are to be typed as they stand, and narrow cells cannot be spread: no hyphens, no adjusting.
string(REGEX REPLACE "(\n\\.TH [^\n]*\n)" "\\1.nr HY 0\n.ad l\n" troff "${troff}")
# What a table has to tell stands in its last column, which gets the room that is left.
string(REPLACE "tab(|) expand allbox;" "tab(|) allbox;" troff "${troff}")
string(REGEX REPLACE "\n(l[l ]*)\\.\n" "\n\\1x.\n" troff "${troff}")
# The first line asks man for the table preprocessor.
if(troff MATCHES "\n\\.TS")
  string(PREPEND troff "'\\\" t\n")
endif()
file(WRITE ${page} "${troff}")
