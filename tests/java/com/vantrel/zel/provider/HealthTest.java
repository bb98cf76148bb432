package com.vantrel.zel.provider;

import static org.junit.jupiter.api.Assertions.*;

import com.vantrel.zel.provider.internal.SelfTest;
import java.security.*;
import java.util.*;
import java.util.concurrent.TimeUnit;
import org.junit.jupiter.api.Test;

/** What the provider reports of itself. */
class HealthTest {
    private final ZelSecurityProvider zel = new ZelSecurityProvider();

    @Test
    void aHealthyProviderSaysSo() throws Exception {
        assertTrue(zel.awaitRandom(5, TimeUnit.MINUTES) && zel.isRandomReady());
        assertTrue(zel.awaitRandom(-1, TimeUnit.DAYS));
        assertEquals(zel.getVersionStr(), zel.nativeVersion());
        SelfTestResult result = zel.selfTest();
        assertTrue(result.isPassed() && result.failures().isEmpty(), result.toString());
    }

    /** The JDK's own providers give the known answers, each those of its services, and have not got the others. */
    @Test
    void theKnownAnswersAreThoseOfOthers() {
        Map<String, String> passed = new TreeMap<>();
        for (String name : new String[] {"SUN", "SunRsaSign", "SunJCE"}) {
            SelfTest.run(Security.getProvider(name)).forEach((algorithm, wrong) -> {
                assertTrue(wrong.isEmpty() || wrong.contains("NoSuchAlgorithm"), wrong);
                passed.merge(algorithm, wrong.isEmpty() ? name : "", String::concat);
            });
        }
        assertEquals("{AES/CBC/PKCS5Padding=SunJCE, FIPS186PRNG=, SHA-1=SUN, SHA-256=SUN, SHA1withDSA=SUN,"
                + " SHA1withRSA=SunRsaSign, SHA256withRSA=SunRsaSign}", passed.toString());
    }

    @Test
    void aWrongAnswerIsToldBesideTheOthers() {
        Provider wrong = new Provider("Wrong", "1", "") { };
        wrong.put("MessageDigest.SHA-1", "sun.security.provider.SHA2$SHA256");
        SelfTestResult result = new SelfTestResult(SelfTest.run(wrong));
        assertEquals("wrong digest of a short message", result.failures().get("SHA-1"));
        assertTrue(!result.isPassed() && result.toString().startsWith("failed {SHA-1=wrong digest"), result.toString());
    }
}
