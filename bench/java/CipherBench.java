import com.vantrel.zel.provider.ZelSecurityProvider;
import java.security.Provider;
import java.security.Security;
import java.util.Arrays;
import java.util.Locale;
import javax.crypto.Cipher;
import javax.crypto.spec.IvParameterSpec;
import javax.crypto.spec.SecretKeySpec;

/**
 * AES-256-CBC of the provider beside SunJCE, in one run: init for each message and doFinal, encryption and decryption.
 *
 * <p>Run it from the project's folder after a release build:
 *
 * <pre>java -cp build/release/zel-provider.jar bench/java/CipherBench.java</pre>
 */
public final class CipherBench {
    private static final int[] SIZES = {16, 256, 1024, 16 * 1024, 1024 * 1024};
    private static final long WARM_UP_NANOS = 300_000_000;
    private static final long ROUND_NANOS = 100_000_000;
    private static final int ROUNDS = 7;

    private CipherBench() {}

    /** One provider's cipher at one task. */
    private static final class Task {
        private final Cipher cipher;
        private final int mode;
        private final byte[] input;
        private final byte[] output;
        private final SecretKeySpec key = new SecretKeySpec(new byte[32], "AES");
        private final IvParameterSpec iv = new IvParameterSpec(new byte[16]);

        Task(Provider provider, int mode, byte[] input) throws Exception {
            this.cipher = Cipher.getInstance("AES/CBC/PKCS5Padding", provider);
            this.mode = mode;
            this.input = input;
            this.output = new byte[input.length + 16];
        }

        byte[] result() throws Exception {
            return Arrays.copyOf(output, once());
        }

        private int once() throws Exception {
            cipher.init(mode, key, iv);
            return cipher.doFinal(input, 0, input.length, output, 0);
        }

        /** Nanoseconds for one message, over about the time given. */
        double time(long nanos) throws Exception {
            long start = System.nanoTime();
            long count = 0;
            long now;
            do {
                once();
                ++count;
                now = System.nanoTime();
            } while (now - start < nanos);
            return (double) (now - start) / count;
        }
    }

    public static void main(String[] args) throws Exception {
        Provider zel = new ZelSecurityProvider();
        Provider sun = Security.getProvider("SunJCE");
        System.out.printf("Java %s%n", System.getProperty("java.vm.version"));
        for (int mode : new int[] {Cipher.ENCRYPT_MODE, Cipher.DECRYPT_MODE}) {
            for (int size : SIZES) {
                byte[] input = mode == Cipher.ENCRYPT_MODE ? new byte[size]
                        : new Task(sun, Cipher.ENCRYPT_MODE, new byte[size]).result();
                compare(mode == Cipher.ENCRYPT_MODE ? "encrypt" : "decrypt", size, new Task(zel, mode, input),
                        new Task(sun, mode, input));
            }
        }
    }

    private static void compare(String name, int size, Task ours, Task theirs) throws Exception {
        if (!Arrays.equals(ours.result(), theirs.result())) {
            throw new AssertionError(name + " of " + size + " bytes is wrong");
        }
        ours.time(WARM_UP_NANOS);
        theirs.time(WARM_UP_NANOS);
        double our = Double.MAX_VALUE;
        double their = Double.MAX_VALUE;
        for (int round = 0; round < ROUNDS; ++round) { // by turns, the best of each
            our = Math.min(our, ours.time(ROUND_NANOS));
            their = Math.min(their, theirs.time(ROUND_NANOS));
        }
        System.out.printf(Locale.ROOT, "%s %8d bytes: %10.0f ns %8.1f MB/s   %5.2f of SunJCE%n",
                name, size, our, 1e3 * size / our, their / our);
    }
}
