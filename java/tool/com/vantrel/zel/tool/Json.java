package com.vantrel.zel.tool;

import java.util.LinkedHashMap;
import java.util.List;
import java.util.Map;
import java.util.stream.Collectors;
import picocli.CommandLine.Option;

/** The option {@code --json}, and JSON text. */
final class Json {
    @Option(names = "--json", description = "Print JSON, for scripts.")
    boolean isWanted;

    /** Prints the value as JSON with that option, else the line. */
    void print(Object value, String line) {
        Zel.out().println(isWanted ? text(value) : line);
    }

    /** A JSON object of names and values in turn. */
    static Map<String, Object> object(Object... namesAndValues) {
        Map<String, Object> object = new LinkedHashMap<>();
        for (int i = 0; i < namesAndValues.length; i += 2) {
            object.put((String) namesAndValues[i], namesAndValues[i + 1]);
        }
        return object;
    }

    /** The JSON text of a map, a list, a number, a boolean, or anything else as a string. */
    static String text(Object value) {
        if (value instanceof Map) {
            return ((Map<?, ?>) value).entrySet().stream()
                    .map(entry -> string(entry.getKey().toString()) + ": " + text(entry.getValue()))
                    .collect(Collectors.joining(", ", "{", "}"));
        }
        if (value instanceof List) {
            return ((List<?>) value).stream().map(Json::text).collect(Collectors.joining(", ", "[", "]"));
        }
        return value == null || value instanceof Number || value instanceof Boolean
                ? String.valueOf(value) : string(value.toString());
    }

    private static String string(String text) {
        return text.chars().mapToObj(Json::character).collect(Collectors.joining("", "\"", "\""));
    }

    private static String character(int c) {
        return c == '"' || c == '\\' ? "\\" + (char) c
                : c < ' ' || Character.isSurrogate((char) c) ? String.format("\\u%04x", c) : String.valueOf((char) c);
    }

    /** Bytes in lower-case hexadecimal digits. */
    static String hex(byte[] bytes, int count) {
        StringBuilder hex = new StringBuilder(2 * count);
        for (int i = 0; i < count; ++i) {
            hex.append(Character.forDigit(bytes[i] >> 4 & 15, 16)).append(Character.forDigit(bytes[i] & 15, 16));
        }
        return hex.toString();
    }
}
