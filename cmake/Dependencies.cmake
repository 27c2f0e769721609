# All from Debian 12's packages; ./dev setup installs them.
find_package(Threads REQUIRED)
find_package(Boost 1.74 REQUIRED COMPONENTS thread chrono filesystem)
find_package(Protobuf 3.21 REQUIRED)
find_package(jsoncpp REQUIRED)
find_package(CLI11 REQUIRED)
