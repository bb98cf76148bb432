package com.vantrel.zel.tool;

import java.io.PrintStream;
import java.io.PrintWriter;
import java.nio.charset.StandardCharsets;
import java.util.ArrayList;
import java.util.List;
import picocli.CommandLine;
import picocli.CommandLine.Command;
import picocli.CommandLine.HelpCommand;
import picocli.CommandLine.Model.CommandSpec;
import picocli.CommandLine.ParameterException;
import picocli.CommandLine.ScopeType;
import picocli.CommandLine.Spec;
import picocli.CommandLine.UnmatchedArgumentException;

/**
 * The program {@code zel}: digests, random numbers, keys, signatures and encryption at a terminal.
 *
 * <p>Its exit code is 0 when all went well, 1 when the answer is no (a signature that is not valid, a file that does not
 * decrypt with the key, a digest that differs), and 2 for everything else.
 */
@Command(
        name = "zel",
        mixinStandardHelpOptions = true,
        versionProvider = InfoCommand.VersionLines.class,
        scope = ScopeType.INHERIT,
        subcommands = {
            DigestCommand.class, RandomCommand.class, KeygenCommand.class, SignCommand.class, VerifyCommand.class,
            EncryptCommand.class, DecryptCommand.class, SpeedCommand.class, InfoCommand.class, HelpCommand.class
        },
        description = "Digests, random numbers, keys, signatures and encryption with the library zelspi.",
        footer = {
            "%nExamples:",
            "  zel digest letter.txt",
            "  zel keygen rsa --output my.key --then sign --key my.key letter.txt",
            "  zel encrypt --help",
            "%nSeveral commands can share one process, in which the random generator is seeded once: zel COMMAND ... --then"
                + " COMMAND ..."
        },
        exitCodeListHeading = "%nExit codes:%n",
        exitCodeList = {
            "0:all went well",
            "1:the answer is no: not valid, not decrypted, not the same",
            "2:anything else: a wrong command line, a file that cannot be read or written"
        })
public final class Zel implements Runnable {
    /** The exit code for the answer no. */
    static final int ANSWER_NO = 1;

    /** The exit code for everything that went wrong. */
    static final int TROUBLE = CommandLine.ExitCode.USAGE;

    /** Separates commands that share one process, and so one seeding of the generator. */
    private static final String THEN = "--then";

    @Spec private CommandSpec spec;

    private Zel() {}

    /**
     * Runs the program and ends the virtual machine with its exit code.
     *
     * @param args the command line
     */
    public static void main(String[] args) {
        StandardOutput.install();
        System.exit(run(args));
    }

    /**
     * Runs the program: one command, or several joined by {@code --then}, up to the first that does not end with 0. None is
     * run where one of them cannot be parsed.
     *
     * @param args the command line
     * @return the exit code
     */
    public static int run(String... args) {
        List<String[]> commands = new ArrayList<>();
        List<String> words = List.of(args);
        for (int end = words.indexOf(THEN); end >= 0; end = words.indexOf(THEN)) {
            commands.add(words.subList(0, end).toArray(String[]::new));
            words = words.subList(end + 1, words.size());
        }
        commands.add(words.toArray(String[]::new));
        int exitCode = 0;
        for (int i = 1; i < commands.size() && exitCode == 0; ++i) {
            exitCode = parse(commands.get(i));
        }
        for (int i = 0; i < commands.size() && exitCode == 0; ++i) {
            exitCode = runOne(commands.get(i));
        }
        return exitCode;
    }

    private static int parse(String... args) {
        try {
            commandLine().parseArgs(args);
            return 0;
        } catch (ParameterException e) {
            return usageError(e);
        }
    }

    /**
     * The program as picocli knows it.
     *
     * @return a command line of its own
     */
    public static CommandLine commandLine() {
        CommandLine commandLine = new CommandLine(new Zel());
        commandLine.setOut(new PrintWriter(out(), true));
        commandLine.setErr(new PrintWriter(err(), true));
        commandLine.setCaseInsensitiveEnumValuesAllowed(true);
        commandLine.setParameterExceptionHandler((e, arguments) -> usageError(e));
        commandLine.setExecutionExceptionHandler((e, command, result) -> failure(e));
        return commandLine;
    }

    private static int runOne(String... args) {
        int exitCode = commandLine().execute(args);
        // A full disk or a closed pipe behind standard output shows only here.
        if (exitCode != TROUBLE && System.out.checkError()) {
            err().println("zel: " + Output.NO_STANDARD_OUTPUT);
            return TROUBLE;
        }
        return exitCode;
    }

    /** Without a command: the help, as an error. */
    @Override
    public void run() {
        throw new ParameterException(spec.commandLine(), "a command is needed");
    }

    /** Standard output for text. */
    static PrintStream out() {
        return new PrintStream(System.out, true, StandardCharsets.UTF_8);
    }

    /** Standard error for text. */
    static PrintStream err() {
        return new PrintStream(System.err, true, StandardCharsets.UTF_8);
    }

    private static int usageError(ParameterException e) {
        boolean isNoCommand = e instanceof UnmatchedArgumentException && e.getCommandLine().getParent() == null
                && !((UnmatchedArgumentException) e).isUnknownOption();
        err().println("zel: " + (isNoCommand
                ? "no such command: " + ((UnmatchedArgumentException) e).getUnmatched().get(0) : e.getMessage()));
        err().println("Try '" + e.getCommandLine().getCommandSpec().qualifiedName() + " --help'.");
        return TROUBLE;
    }

    private static int failure(Exception e) {
        err().println("zel: " + Failures.describe(e));
        return e instanceof Failures.AnswerIsNo ? ANSWER_NO : TROUBLE;
    }
}
