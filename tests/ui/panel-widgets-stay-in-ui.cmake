cmake_minimum_required(VERSION 3.25)
# Fails with the list of product files outside ui/ that reach into the control panel's widgets:
# an include of a generated interface header (ui_*.h, ui/ControlPanelOutlets.h) or a call of
# outlets(). The panel's owner drives it through ControlPanel's calls; tests may look inside.
set(found)
foreach(folder IN ITEMS app bench camera capture platform settings tools)
  file(GLOB_RECURSE sources "${ROOT}/${folder}/*.cpp" "${ROOT}/${folder}/*.h")
  foreach(source IN LISTS sources)
    file(STRINGS "${source}" reaches
         REGEX "#[ \t]*include[ \t]*\"(ui_[A-Za-z]+\\.h|ui/ControlPanelOutlets\\.h)\"|outlets\\(\\)")
    if(reaches)
      file(RELATIVE_PATH name "${ROOT}" "${source}")
      list(APPEND found "${name}: ${reaches}")
    endif()
  endforeach()
endforeach()
if(found)
  list(JOIN found "\n  " lines)
  message(FATAL_ERROR "Panel widgets reached from outside ui/:\n  ${lines}")
endif()
