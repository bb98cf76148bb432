package com.vantrel.zel.provider.spi;

import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertThrows;
import static org.junit.jupiter.api.Assertions.assertTrue;

import java.security.KeyPair;
import java.security.KeyPairGenerator;
import java.security.ProviderException;
import java.security.Signature;
import java.security.SignatureException;
import java.util.Arrays;
import org.junit.jupiter.api.function.Executable;
import org.junit.jupiter.params.ParameterizedTest;
import org.junit.jupiter.params.provider.ValueSource;

/** The native methods of the signatures called directly, in a real virtual machine. */
class NativeSignatureTest {
    @ParameterizedTest
    @ValueSource(strings = {"RSA", "DSA"})
    void everyMethod(String kind) throws Exception {
        ZelSignatureSpi spi = kind.equals("RSA") ? new ZelSha1WithRsaSignatureSpi() : new ZelSha1WithDsaSignatureSpi();
        KeyPairGenerator generator = KeyPairGenerator.getInstance(kind);
        generator.initialize(1024);
        KeyPair pair = generator.generateKeyPair();
        for (Executable call : new Executable[] {() -> spi.engineUpdate0((byte) 1), () -> spi.engineUpdate0(null, 0, 0),
            spi::engineSign0, () -> spi.engineSign0(null, 0, 0), () -> spi.engineVerify0(null),
            () -> spi.engineVerify0(null, 0, 0)}) {
            assertEquals("sig engine not intialized : ERR_NULL_POINTER",
                    assertThrows(ProviderException.class, call).getMessage());
        }
        spi.engineInitSign0(pair.getPrivate().getEncoded());
        spi.engineUpdate0(new byte[] {'x', 'a', 'b', 'c'}, 1, 3);
        assertThrows(ArrayIndexOutOfBoundsException.class, () -> spi.engineUpdate0(new byte[3], 2, 2));
        byte[] area = new byte[200];
        int length = spi.engineSign0(area, 20, 150);
        Signature jdk = Signature.getInstance("SHA1with" + kind);
        jdk.initVerify(pair.getPublic());
        jdk.update(new byte[] {'a', 'b', 'c'});
        byte[] signature = Arrays.copyOfRange(area, 20, 20 + length);
        assertTrue(jdk.verify(signature));
        spi.engineInitVerify0(kind.equals("RSA") ? RsaKeys.encodedPublic(pair.getPublic()) : pair.getPublic().getEncoded());
        assertThrows(SignatureException.class, () -> spi.engineVerify0(new byte[5], 0, 5));
        spi.engineUpdate0(new byte[] {'a', 'b', 'c'}, 0, 3);
        assertTrue(spi.engineVerify0(signature));
        spi.deleteContext0();
        spi.deleteContext0();
        assertEquals(0, spi.context0());
    }
}
