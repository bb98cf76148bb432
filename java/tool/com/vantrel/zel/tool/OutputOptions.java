package com.vantrel.zel.tool;

import java.io.IOException;
import picocli.CommandLine.Option;

/** The options of commands that write a file. */
final class OutputOptions {
    @Option(names = {"-o", "--output"}, paramLabel = "FILE", description = "The file to write; - is standard output.")
    String name;

    @Option(names = "--force", description = "Overwrite a file that exists.")
    boolean force;

    /** The file's name, which is the fallback where none was given. */
    String nameOr(String fallback) {
        if (name == null && fallback == null) {
            throw new Failures.UserError("the option --output is needed here");
        }
        return name != null ? name : fallback;
    }

    /** Begins the file. */
    Output open(String fallback, boolean ownerOnly) throws IOException {
        return new Output(nameOr(fallback), force, ownerOnly);
    }
}
