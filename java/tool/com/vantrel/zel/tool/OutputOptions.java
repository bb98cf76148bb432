package com.vantrel.zel.tool;

import java.io.IOException;
import picocli.CommandLine.Option;

/** The options of commands that write a file. */
final class OutputOptions {
    @Option(names = {"-o", "--output"}, paramLabel = "FILE", description = "The file to write; - is standard output.")
    String name;

    @Option(names = "--force", description = "Overwrite a file that exists.")
    boolean force;

    /** The file's name, or the default where none is given and there is one. */
    String nameOr(String defaultName) {
        if (name == null && defaultName == null) {
            throw new Failures.UserError("the option --output is needed here");
        }
        return name != null ? name : defaultName;
    }

    /** Opens the file. */
    Output open(String defaultName, boolean ownerOnly) throws IOException {
        return new Output(nameOr(defaultName), force, ownerOnly);
    }
}
