# The tiny media files the fuzz targets start from and read, made by fuzz/make-media with the
# ffmpeg command into the build tree. Both the fuzz build and the test suite's replays use them.
set(KIVA_FUZZ_MEDIA ${CMAKE_BINARY_DIR}/seeds/media_file)
add_custom_command(
  OUTPUT ${KIVA_FUZZ_MEDIA}/.complete
  COMMAND ${CMAKE_CURRENT_LIST_DIR}/make-media ${KIVA_FUZZ_MEDIA}
  DEPENDS ${CMAKE_CURRENT_LIST_DIR}/make-media
  COMMENT "Generating the fuzz targets' media with ffmpeg"
  VERBATIM)
add_custom_target(fuzz_media ALL DEPENDS ${KIVA_FUZZ_MEDIA}/.complete)

# The entries of the targets that drive the plug-in: built under libFuzzer by fuzz/, and with a
# plain main that replays files by the test suite.
set(KIVA_FUZZ_SOURCE_media_file ${CMAKE_CURRENT_LIST_DIR}/MediaFileFuzzer.cpp)
set(KIVA_FUZZ_SOURCE_selector_sequence ${CMAKE_CURRENT_LIST_DIR}/SelectorSequenceFuzzer.cpp)
set(KIVA_FUZZ_SOURCE_settings_dialog ${CMAKE_CURRENT_LIST_DIR}/SettingsDialogFuzzer.cpp)
