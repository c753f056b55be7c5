# The pages of the dashboard. They are the same for every flavour, so they are built once, into dashboard/dist.
#
# Node.js is needed where they are built and nowhere else: what is installed are plain files. Where it is missing, the
# probe is built and installed without pages, and the install says so.

find_program(NPM_PROGRAM npm)
if(NPM_PROGRAM)
  add_custom_target(dashboard
    COMMAND ${PROJECT_SOURCE_DIR}/script/dashboard
    COMMENT "Building the dashboard"
    USES_TERMINAL)
endif()

# The build tree is laid out as the install is.
cmake_path(GET VEXORA_DASHBOARD_DIR PARENT_PATH dashboard_parent)
file(MAKE_DIRECTORY ${PROJECT_BINARY_DIR}/${dashboard_parent})
file(CREATE_LINK ${PROJECT_SOURCE_DIR}/dashboard/dist ${PROJECT_BINARY_DIR}/${VEXORA_DASHBOARD_DIR} SYMBOLIC)

install(DIRECTORY ${PROJECT_SOURCE_DIR}/dashboard/dist/ DESTINATION ${VEXORA_DASHBOARD_DIR} OPTIONAL)
install(CODE "
  if(NOT EXISTS \"${PROJECT_SOURCE_DIR}/dashboard/dist/index.html\")
    message(STATUS \"The dashboard is not built, and not installed: script/dashboard builds it\")
  endif()")
