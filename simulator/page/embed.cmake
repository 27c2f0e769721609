# Writes a source file that holds the files of the page as texts: cmake -DOUTPUT=FILE -DINPUTS=FILE,... -P embed.cmake
set(rows "")
string(REPLACE "," ";" inputs "${INPUTS}")
foreach(input IN LISTS inputs)
    get_filename_component(name "${input}" NAME)
    file(READ "${input}" text)
    string(APPEND rows "    {\"${name}\", R\"zavsim(${text})zavsim\"},\n")
endforeach()
file(WRITE "${OUTPUT}" "#include \"simulator/page/page_files.h\"

const std::vector<ZavSim::PageFile>& ZavSim::AllPageFiles()
{
    static const std::vector<PageFile> FILES{
${rows}    };
    return FILES;
}
")
