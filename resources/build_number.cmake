# Writes how many commits this source is made of, or 0 where nobody can say: there is no repository
# (an archive, perhaps unpacked inside somebody else's), or one without its history.
# cmake -DSOURCE=folder -DOUT=file -P build_number.cmake

set(number 0)
find_program(GIT git)
if(GIT)
  set(git ${GIT} -C ${SOURCE})
  execute_process(COMMAND ${git} rev-parse --show-toplevel --is-shallow-repository
    OUTPUT_VARIABLE repository OUTPUT_STRIP_TRAILING_WHITESPACE ERROR_QUIET)
  file(REAL_PATH ${SOURCE} folder)
  if(repository STREQUAL "${folder}\nfalse")
    execute_process(COMMAND ${git} rev-list --count HEAD
      OUTPUT_VARIABLE count OUTPUT_STRIP_TRAILING_WHITESPACE ERROR_QUIET)
    if(count MATCHES "^[0-9]+$")
      set(number ${count})
    endif()
  endif()
endif()
file(CONFIGURE OUTPUT ${OUT} CONTENT "${number}\n") # touched only when it changes
