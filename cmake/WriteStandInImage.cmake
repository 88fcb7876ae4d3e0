# Build step: cmake -D output=FILE -P WriteStandInImage.cmake
include(${CMAKE_CURRENT_LIST_DIR}/CameraData.cmake)
zevo_write_stand_in_image(${output})
zevo_check_firmware_image(${output})
