# Run by cpack's External generator: makes the MSI of the staged tree, which has a folder for each
# component.

# find_tool(VARIABLE NAME PACKAGE)
function(find_tool variable name package)
  find_program(${variable} ${name})
  if(NOT ${variable})
    message(FATAL_ERROR "An MSI takes ${name}, of Debian's package ${package}.")
  endif()
endfunction()
find_tool(WIXL wixl wixl)
find_tool(WIXL_HEAT wixl-heat wixl)
find_tool(MSIBUILD msibuild msitools)

# The same list for the same files, whatever the file system's order.
function(list_files component result)
  set(folder "${CPACK_TEMPORARY_DIRECTORY}/${component}")
  set(list "${CPACK_TOPLEVEL_DIRECTORY}/${component}.wxs")
  file(GLOB_RECURSE files RELATIVE "${CPACK_TEMPORARY_DIRECTORY}" "${folder}/*")
  list(SORT files)
  list(JOIN files "\n" files)
  file(WRITE "${list}.files" "${files}\n")
  execute_process(
    COMMAND "${WIXL_HEAT}" --prefix "${component}/" --component-group ${component}
      --var var.${component} --directory-ref INSTALLDIR --win64
    INPUT_FILE "${list}.files" OUTPUT_FILE "${list}" COMMAND_ERROR_IS_FATAL ANY)
  set(${result} "${list}" PARENT_SCOPE)
endfunction()

set(lists "")
set(definitions "")
foreach(component IN LISTS CPACK_COMPONENTS_ALL)
  list_files(${component} file_list)
  list(APPEND lists "${file_list}")
  list(APPEND definitions -D ${component}=${component})
endforeach()

set(msi "${CPACK_PACKAGE_DIRECTORY}/${CPACK_PACKAGE_FILE_NAME}.msi")
file(REMOVE "${msi}")
execute_process(
  COMMAND "${WIXL}" --arch x64 --output "${msi}" -D Win64=yes
    -D "Version=${CPACK_PACKAGE_VERSION}" -D "Vendor=${CPACK_PACKAGE_VENDOR}"
    -D "Summary=${CPACK_PACKAGE_DESCRIPTION_SUMMARY}" ${definitions}
    -I "${CPACK_TEMPORARY_DIRECTORY}" "${CPACK_MSI_SOURCE}" ${lists}
  # wixl takes no absolute paths of files.
  WORKING_DIRECTORY "${CPACK_TEMPORARY_DIRECTORY}"
  COMMAND_ERROR_IS_FATAL ANY)

# wixl does not know the table of access lists. The one here is what the library gives the folder
# when it makes it: Local System, Administrators and Users may read, write and execute, and files
# inherit that.
execute_process(
  COMMAND "${MSIBUILD}" "${msi}"
    -q "CREATE TABLE `MsiLockPermissionsEx` (`MsiLockPermissionsEx` CHAR(72) NOT NULL, `LockObject` CHAR(72) NOT NULL, `Table` CHAR(32) NOT NULL, `SDDLText` CHAR(0) NOT NULL, `Condition` CHAR(255) PRIMARY KEY `MsiLockPermissionsEx`)"
    -q "INSERT INTO `MsiLockPermissionsEx` (`MsiLockPermissionsEx`, `LockObject`, `Table`, `SDDLText`) VALUES ('DataFolder', 'DataFolder', 'CreateFolder', 'D:(A;OICI;GRGWGX;;;SY)(A;OICI;GRGWGX;;;BA)(A;OICI;GRGWGX;;;BU)')"
  COMMAND_ERROR_IS_FATAL ANY)

set(CPACK_EXTERNAL_BUILT_PACKAGES "${msi}")
