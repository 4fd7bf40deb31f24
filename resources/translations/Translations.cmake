# The compiled translations live in tolm_capture, so the wizard and tolm-convert both carry them.
# Included from src/capture/CMakeLists.txt after tolm_capture is defined.
file(GLOB _tolm_ts_files CONFIGURE_DEPENDS "${CMAKE_CURRENT_LIST_DIR}/*.ts")
qt_add_lrelease(tolm_capture TS_FILES ${_tolm_ts_files} QM_FILES_OUTPUT_VARIABLE _tolm_qm_files)
qt_add_resources(tolm_capture tolm_translations
    PREFIX "/translations"
    BASE "${CMAKE_CURRENT_BINARY_DIR}"
    FILES ${_tolm_qm_files})
