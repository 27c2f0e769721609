# All from Debian 12's packages; ./dev setup installs them.
find_package(Threads REQUIRED)
find_package(Boost 1.74 REQUIRED COMPONENTS thread chrono filesystem)
find_package(Protobuf 3.21 REQUIRED)
find_package(jsoncpp REQUIRED)

if(PRODUCT_STORAGE_FRAMEWORK STREQUAL "open")
    find_package(CURL 7.88 REQUIRED)
    find_package(OpenSSL 3.0 REQUIRED)
    find_package(spdlog 1.10 REQUIRED)
endif()
