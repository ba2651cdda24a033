# Writes OUTPUT, a source with the commit that the tree of SOURCE has, as `git describe` names it; "unknown" outside a
# work tree. Leaves the file alone when it would stay the same, so that nothing is compiled again. Runs at every build.
execute_process(COMMAND git -C ${SOURCE} describe --always --dirty --match v* OUTPUT_VARIABLE commit ERROR_QUIET
                OUTPUT_STRIP_TRAILING_WHITESPACE RESULT_VARIABLE failed)
if(failed)
  set(commit unknown)
endif()
file(CONFIGURE OUTPUT ${OUTPUT} CONTENT
  "#include \"base/command_line/version.h\"\n\nnamespace base {\nconst char* const COMMIT = \"${commit}\";\n}\n" @ONLY)
