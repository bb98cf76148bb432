package com.vantrel.zel.provider;

import java.util.Collections;
import java.util.LinkedHashMap;
import java.util.Map;

/**
 * What {@link ZelSecurityProvider#selfTest()} has found. It never changes.
 *
 * <pre>{@code
 * SelfTestResult result = provider.selfTest();
 * if (!result.isPassed()) {
 *     log.severe("Zel: " + result.failures()); // such as {SHA1withDSA=a valid signature is refused}
 * }
 * }</pre>
 */
public final class SelfTestResult {
    private final Map<String, String> outcomes;
    private final Map<String, String> failures;

    SelfTestResult(Map<String, String> failuresOrEmpty) {
        Map<String, String> all = new LinkedHashMap<>();
        Map<String, String> failed = new LinkedHashMap<>();
        failuresOrEmpty.forEach((algorithm, failure) -> {
            all.put(algorithm, failure.isEmpty() ? "passed" : failure);
            if (!failure.isEmpty()) {
                failed.put(algorithm, failure);
            }
        });
        outcomes = Collections.unmodifiableMap(all);
        failures = Collections.unmodifiableMap(failed);
    }

    /**
     * Whether the test has passed.
     *
     * @return whether every service gave the known answers
     */
    public boolean isPassed() {
        return failures.isEmpty();
    }

    /**
     * The outcome for each service.
     *
     * @return by algorithm, in the order of the tests: "passed", or what is wrong
     */
    public Map<String, String> outcomes() {
        return outcomes;
    }

    /**
     * The services that did not give the known answers.
     *
     * @return by algorithm what is wrong; empty when the test has passed
     */
    public Map<String, String> failures() {
        return failures;
    }

    /** The outcomes, for logs. */
    @Override
    public String toString() {
        return (isPassed() ? "passed " : "failed ") + outcomes;
    }
}
