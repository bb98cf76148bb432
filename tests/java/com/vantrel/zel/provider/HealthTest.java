package com.vantrel.zel.provider;

import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertThrows;
import static org.junit.jupiter.api.Assertions.assertTrue;

import com.vantrel.zel.provider.internal.RandomStart;
import com.vantrel.zel.provider.internal.SelfTest;
import java.security.MessageDigestSpi;
import java.security.Provider;
import java.security.ProviderException;
import java.security.Security;
import java.util.List;
import java.util.Map;
import java.util.TreeMap;
import java.util.concurrent.TimeUnit;
import org.junit.jupiter.api.Test;

/** What the provider tells of itself. */
class HealthTest {
    private final ZelSecurityProvider zel = new ZelSecurityProvider();

    @Test
    void aHealthyProviderSaysSo() throws Exception {
        assertTrue(zel.awaitRandom(5, TimeUnit.MINUTES) && zel.isRandomReady());
        assertTrue(zel.awaitRandom(-1, TimeUnit.DAYS));
        assertEquals(zel.getVersionStr(), zel.nativeVersion());
        assertTrue(zel.nativeLocation().matches(".*zelspi\\.(so|dll)"), zel.nativeLocation());
        assertTrue(zel.kernels().containsKey("AES"), zel.kernels().toString());
        SelfTestResult result = zel.selfTest();
        assertTrue(result.isPassed() && result.failures().isEmpty(), result.toString());
        assertEquals(7, result.outcomes().size());
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
        SelfTestResult result = new SelfTestResult(SelfTest.run(new Wrong()));
        assertEquals("wrong digest of a short message", result.failures().get("SHA-1"));
        assertTrue(!result.isPassed() && result.toString().startsWith("failed {SHA-1=wrong digest"), result.toString());
    }

    /** Run in a child: the generator cannot be started, twice, and then it can; a wait that ends before it is ready. */
    public static final class FailingStart {
        public static void main(String[] args) throws Exception {
            for (int i = 0; i < 2; ++i) {
                System.out.println(assertThrows(ProviderException.class, () -> RandomStart.await(() -> {
                    throw new IllegalStateException("no entropy");
                }, 1, TimeUnit.MINUTES)).getCause().getMessage());
            }
            RandomStart.leaveToFirstUser();
            ZelSecurityProvider zel = new ZelSecurityProvider();
            System.out.println(zel.awaitRandom(0, TimeUnit.SECONDS) + " " + zel.awaitRandom(5, TimeUnit.MINUTES));
        }
    }

    @Test
    void aStartThatFailsIsToldAndTriedAgain() throws Exception {
        assertEquals("no entropy\nno entropy\nfalse true", ChildJvm.outputOf(FailingStart.class,
                List.of("-cp", System.getProperty("java.class.path"))).strip().replace("\r", ""));
    }

    /** A provider whose only service answers wrongly. */
    private static final class Wrong extends Provider {
        private static final long serialVersionUID = 1L;

        Wrong() {
            super("Wrong", "1", "");
            putService(new Service(this, "MessageDigest", "SHA-1", "", null, null) {
                @Override
                public Object newInstance(Object parameter) {
                    return new MessageDigestSpi() {
                        @Override protected void engineUpdate(byte input) { }
                        @Override protected void engineUpdate(byte[] input, int offset, int length) { }
                        @Override protected byte[] engineDigest() {
                            return new byte[20];
                        }
                        @Override protected void engineReset() { }
                    };
                }
            });
        }
    }
}
