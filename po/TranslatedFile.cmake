# translated_file(KIND TEMPLATE NAME DESTINATION): makes NAME of TEMPLATE with the texts of all tables, and installs it.
# KIND: xml or desktop, as msgfmt has it.
find_program(MSGFMT msgfmt REQUIRED)

function(translated_file kind template name destination)
  file(STRINGS "${PROJECT_SOURCE_DIR}/po/LINGUAS" languages REGEX "^[^#]")
  # Rewords texts that were not written for Linux desktops; these files' own were.
  list(REMOVE_ITEM languages en)
  list(TRANSFORM languages PREPEND "${PROJECT_SOURCE_DIR}/po/" OUTPUT_VARIABLE tables)
  list(TRANSFORM tables APPEND .po)
  list(JOIN languages " " linguas)
  set(output "${CMAKE_CURRENT_BINARY_DIR}/${name}")
  add_custom_command(
    OUTPUT "${output}"
    COMMAND "${CMAKE_COMMAND}" -E env "LINGUAS=${linguas}"
            "${MSGFMT}" --${kind} --template "${CMAKE_CURRENT_SOURCE_DIR}/${template}" -d "${PROJECT_SOURCE_DIR}/po"
            -o "${output}"
    DEPENDS "${template}" ${tables} "${PROJECT_SOURCE_DIR}/po/LINGUAS"
    VERBATIM)
  add_custom_target("translated_${kind}" ALL DEPENDS "${output}")
  install(FILES "${output}" DESTINATION "${destination}")
endfunction()
