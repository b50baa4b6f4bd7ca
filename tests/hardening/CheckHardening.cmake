# Looks at a built file for what cmake/Hardening.cmake asks for.
# cmake -D FILE=<program or module> -D KIND=program|module -D X86=<bool> -P CheckHardening.cmake

function(look output)
  execute_process(COMMAND ${ARGN} ${FILE} OUTPUT_VARIABLE text RESULT_VARIABLE status)
  if(NOT status EQUAL 0)
    message(FATAL_ERROR "${ARGN} does not read ${FILE}")
  endif()
  set(${output} "${text}" PARENT_SCOPE)
endfunction()

set(problems "")
function(demand text pattern problem)
  if(NOT text MATCHES "${pattern}")
    set(problems "${problems}\n  ${problem}" PARENT_SCOPE)
  endif()
endfunction()
function(forbid text pattern problem)
  if(text MATCHES "${pattern}")
    set(problems "${problems}\n  ${problem}: ${CMAKE_MATCH_0}" PARENT_SCOPE)
  endif()
endfunction()

look(header readelf -hW)
look(segments readelf -lW)
look(dynamic readelf -dW)
look(symbols readelf -W --dyn-syms)

demand("${header}" "Type: +DYN" "it has a fixed address")
if(KIND STREQUAL "program")
  demand("${dynamic}" "FLAGS_1[^\n]* PIE" "it is no position-independent program")
endif()
demand("${segments}" "GNU_RELRO" "its tables can be written to")
demand("${dynamic}" "FLAGS[^\n]* (BIND_NOW|NOW)" "functions are looked up when they are first called")
demand("${segments}" "GNU_STACK[^\n]* RW +0x" "its stack can be code")
demand("${symbols}" "UND __stack_chk_fail" "it has no stack protectors")
demand("${symbols}" "UND __[a-z]+_chk" "no library call is checked")
# Of our own names, only the one that the engine calls in the module.
forbid("${symbols}" "(FUNC|OBJECT)[^\n]* DEFAULT +[0-9]+ _Z[A-Z]*[0-9]*N?K?6Tessel[^\n]*" "it exports a name")
forbid("${symbols}" "(FUNC|OBJECT)[^\n]* DEFAULT +[0-9]+ _ZN?K?[0-9]+(Orv|WebView|WebKit|IPC|Page)[^\n]*" "it exports a name")
if(X86)
  # No frame grows by more than a page, 0x1000, without touching it; and what calls land on.
  look(code objdump -d --no-show-raw-insn)
  set(digit "[0-9a-f]")
  forbid("${code}" "sub +\\$0x([2-9a-f]${digit}${digit}|1[1-9a-f]${digit}|10[1-9a-f]|${digit}${digit}${digit}${digit}${digit}?${digit}?)${digit},%rsp"
    "a large frame does not touch its pages")
  demand("${code}" "<main>:\n[^\n]*endbr64|<webkit_web_extension_initialize[^>]*>:\n[^\n]*endbr64"
    "calls can land anywhere")
endif()

if(problems)
  message(FATAL_ERROR "${FILE}:${problems}")
endif()
