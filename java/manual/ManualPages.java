import com.vantrel.zel.tool.Zel;
import java.io.IOException;
import java.nio.file.Files;
import java.nio.file.Path;
import java.util.ArrayList;
import java.util.List;
import java.util.Locale;
import java.util.Map;
import java.util.stream.Collectors;
import picocli.AutoComplete;
import picocli.CommandLine;
import picocli.CommandLine.Help.Ansi;
import picocli.CommandLine.Model.ArgSpec;
import picocli.CommandLine.Model.CommandSpec;
import picocli.CommandLine.Model.OptionSpec;
import picocli.CommandLine.Model.PositionalParamSpec;
import picocli.CommandLine.Model.UsageMessageSpec;

/**
 * Writes the manual pages of {@code zel} and its commands, and the completion for bash, as the program itself describes them.
 *
 * <p>Usage: {@code java ManualPages.java FOLDER VERSION DATE}
 */
final class ManualPages {
    private ManualPages() {}

    public static void main(String[] args) throws IOException {
        Path folder = Path.of(args[0]);
        CommandLine zel = Zel.commandLine();
        List<CommandLine> commands = new ArrayList<>(zel.getSubcommands().values());
        commands.removeIf(command -> command.getCommandName().equals("help"));
        for (CommandLine command : commands) {
            write(folder, command, args[1], args[2], List.of("zel"));
        }
        write(folder, zel, args[1], args[2], commands.stream().map(ManualPages::page).sorted().collect(Collectors.toList()));
        Files.writeString(folder.resolve("zel.bash"), AutoComplete.bash("zel", zel));
    }

    /** The name of its page: that of the command with its words joined. */
    private static String page(CommandLine command) {
        return command.getCommandSpec().qualifiedName("-");
    }

    private static void write(Path folder, CommandLine command, String version, String date, List<String> related)
            throws IOException {
        CommandSpec spec = command.getCommandSpec();
        UsageMessageSpec usage = spec.usageMessage();
        String about = text(usage.description());
        StringBuilder out = new StringBuilder();
        out.append(String.format(".TH %s 1 %s \"zel %s\" \"User Commands\"\n", page(command).toUpperCase(Locale.ROOT), date, version));
        String summary = about.substring(0, 1).toLowerCase(Locale.ROOT) + about.substring(1).replaceFirst("[.:;].*", "");
        out.append(".SH NAME\n").append(page(command)).append(" \\- ").append(escaped(summary)).append('\n');
        out.append(".SH SYNOPSIS\n").append(literal(command.getHelp().synopsis(0)));
        out.append(".SH DESCRIPTION\n").append(escaped(about)).append('\n');
        if (!spec.positionalParameters().isEmpty()) {
            out.append(".SH ARGUMENTS\n");
            for (PositionalParamSpec argument : spec.positionalParameters()) {
                out.append(entry(argument.paramLabel(), text(argument.description())));
            }
        }
        out.append(".SH OPTIONS\n");
        for (OptionSpec option : spec.options()) {
            out.append(entry(String.join(", ", option.names()) + label(option), text(option.description())));
        }
        if (!command.getSubcommands().isEmpty()) {
            out.append(".SH COMMANDS\n");
            command.getSubcommands().forEach((name, sub) ->
                    out.append(entry(name, text(sub.getCommandSpec().usageMessage().description()))));
        }
        out.append(".SH EXIT STATUS\n");
        for (Map.Entry<String, String> code : usage.exitCodeList().entrySet()) {
            out.append(entry(code.getKey(), text(code.getValue())));
        }
        String examples = lines(usage.footer());
        out.append(".SH EXAMPLES\n").append(literal(examples.replaceFirst("^\\s*Examples:\\n", "")));
        out.append(".SH SEE ALSO\n").append(related.stream().map(name -> ".BR " + escaped(name) + " (1)").collect(
                Collectors.joining(",\n"))).append('\n');
        Files.writeString(folder.resolve(page(command) + ".1"), out);
    }

    private static String label(ArgSpec option) {
        return option.arity().max() == 0 ? "" : " " + option.paramLabel();
    }

    private static String entry(String term, String about) {
        return ".TP\n.B " + escaped(term) + "\n" + escaped(about) + "\n";
    }

    /** Lines as they stand. */
    private static String literal(String text) {
        return ".nf\n" + escaped(text.stripTrailing()) + "\n.fi\n";
    }

    private static String lines(String... parts) {
        return Ansi.OFF.string(String.format(String.join("%n", parts)));
    }

    private static String text(String... parts) {
        return lines(parts).replaceAll("\\s+", " ").strip();
    }

    /** Without what roff would take for its own: backslashes, hyphens, and lines that begin like requests. */
    private static String escaped(String text) {
        return text.replace("\\", "\\e").replace("-", "\\-").replaceAll("(?m)^([.'])", "\\\\&$1");
    }
}
