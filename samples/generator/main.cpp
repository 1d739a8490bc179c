// lorekeep_sample_library: writes the sample Photos library that the lorekeep command backs up out of the box.
#include "SampleCatalog.h"
#include "SampleLibrary.h"

#include <CLI/CLI.hpp>

#include <filesystem>
#include <iostream>

namespace fs = std::filesystem;

int main(int argc, char** argv) {
    CLI::App app{"Writes the sample Photos library (a .photoslibrary package in the layout of macOS 26.1) into a new "
                 "folder. Every run writes the same library.",
                 "lorekeep_sample_library"};
    fs::path package;
    bool replace = false;
    app.add_option("package", package, "The folder to write, e.g. Sample.photoslibrary")->required();
    app.add_flag("--replace", replace, "Replace an existing library package at that place");
    CLI11_PARSE(app, argc, argv);

    try {
        std::error_code error;
        if (fs::exists(package, error)) {
            // Only ever replace something that is a library package: never an arbitrary folder.
            if (!replace || !fs::is_regular_file(package / "database" / "Photos.sqlite", error)) {
                std::cerr << package.string()
                          << (replace ? " is not a Photos library package; not replaced\n" : " already exists\n");
                return 1;
            }
        }
        // Written beside its place and moved there once complete, so that a failed run leaves no half library.
        const fs::path partial = package.string() + ".partial";
        fs::remove_all(partial);
        lorekeep::sample::SampleLibrary(lorekeep::sample::SampleCatalog::standard()).write(partial);
        fs::remove_all(package);
        fs::rename(partial, package);
        std::cout << "Sample library written to " << package.string() << "\n";
        return 0;
    } catch (const std::exception& failure) {
        std::cerr << "lorekeep_sample_library: " << failure.what() << "\n";
        return 1;
    }
}
