package com.vantrel.zel.provider.internal;

import java.util.Base64;

/**
 * Inputs and results of the self-test. Digests are those of FIPS 180-4's examples, AES those of SP 800-38A, F.2.5, the last
 * block of which, the padding, is OpenSSL's; so are the keys, made for this purpose alone, and their signatures of "abc".
 */
final class KnownAnswers {
    static final String SHA1_OF_ABC = "a9993e364706816aba3e25717850c26c9cd0d89d";
    static final String SHA1_OF_MILLION = "34aa973cd4c4daa4f61eeb2bdbad27316534016f";
    static final String SHA256_OF_ABC = "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad";
    static final String SHA256_OF_MILLION = "cdc76e5c9914fb9281a1c7e284d73e67f1809a48a497200e046d39ccc7112cd0";

    static final String AES_KEY = "603deb1015ca71be2b73aef0857d77811f352c073b6108d72d9810a30914dff4";
    static final String AES_IV = "000102030405060708090a0b0c0d0e0f";
    static final String AES_PLAINTEXT = "6bc1bee22e409f96e93d7e117393172aae2d8a571e03ac9c9eb76fac45af8e51"
            + "30c81c46a35ce411e5fbc1191a0a52eff69f2445df4f9b17ad2b417be66c3710";
    static final String AES_CIPHERTEXT = "f58c4c04d6e5f1ba779eabfb5f7bfbd69cfc4e967edb808d679f777bc6702c7d"
            + "39f23369a9d9bacfa530e26304231461b2eb05e2c39be9fcda6c19078c6a9d1b3f461796d6b0d6b2e0c2a72b4d80e644";

    static final byte[] RSA_PRIVATE_KEY = decoded(
            "MIIEvgIBADANBgkqhkiG9w0BAQEFAASCBKgwggSkAgEAAoIBAQDxB78+SRpKxKFZyXqYo8mZD/PyVTq6y1zp/x53TG60Vw0k8eSPppvEgK42abbk"
            + "4CKQLelnWX2I0Q7Ry976xI0xKoeJMUml/i3ySWPt2BtOXwxGH8hhb7qyGZyqlFvzaWN4BPQSf35/kxsIaF+4VX28ung2IB2WEpbHpC01tmHzBbey"
            + "ThR6o1u2Niaxk0N9b/xFeoVq94jpU/xk2NJa/X3Z7hBqKJ4Nc5XbjApGyqpDuz4Rjb2b0T2EUmEuSduY9TME68NQZ6XtByVRq5h5yW/Frx96YHLf"
            + "wxXX3K8SamD87EOlzDxWgerdsSPBUN375NlM69foVOXjlrtMUfICPUwvAgMBAAECggEAaBRD0TYI6+tPjzFwxnPHbFhWqziBdUK2evampbY0AZyr"
            + "eN4ZJ6y2i5pTX/yzNM7SLfcdV/rtOcSohRBnV1rDa00lnKjTWCHTnlFxnLVaSTPC3Y8A3I4+DIUBwSjyMcA66wsch9ZU/eq8XBuR5cvI0VOl8B1b"
            + "GUAqqseqnAyG7ESfwE2RpeLiVa6+nNtEFsyFsXSJc/CFO9RmNe7QoMktATUfvuO3DY6UQNSlDqSqGecZImTFieGVBuoOn6XBmrJ7kpBqRM5breAZ"
            + "Zo2+ygflADvnzLxlt/QHBDWHq7IsKLVAe2pVN3+CVe9V90W1UK64ABN5pOhHDqHepEAlKKHQxQKBgQD4ts/ocb93TYoAjrfplE4WtoxYBa3glph0"
            + "KNtY6rQJPX7Xxw4KeK9ggt7fhV+lSPesOmQJw6x8Eb27RzIZ94gMseKcdwQEgullZzz3DGZtS3GBGBiEKuh9rdI4CSnc8zW6Rq28hmizqSAqNyoo"
            + "2EZ7DcuB6Nj2fAeguziBrw29ywKBgQD4F0+s7tZP4WMquwypd0pyJyfv/thvXHuoRcltVquP9DZLaYRH2EDu4x1CGdUkOoqpDYa5YQ9GyqXuJusq"
            + "d1kAaWgnxj8aPuHkyB+ebjejTD8lrRFbli0lErg5NowXuuilTxUDY89mqDpnjqsL8SL21DXx74cLSjkhuJ6B9lrerQKBgAYJshxrfoFv8XS4AkD6"
            + "Z7bncZrFcIYuQb84KrMK55n90zF71Jxud5t5Md3tR/gkQFb/B+SwymQsrhV40f+NYdElFGJGBWPypaXfjrxUobvvg+7lXdr/i6tZZ+wSVODXSque"
            + "AaO9A5ew+GXt9ukM7xEXsaQSugmp0ymUwfdr/4JnAoGBAPAmKJMesseqRkMjw1L7zU2Ix6kSSNIrdOvjeeLkJbh4TmJbZpfhJqHXqQfGV8L1BCo2"
            + "lLY31QDSwyIv/C4kTzwNzKvLxGOUgTfj3G+RAzyIXwwKZqYATfz4DOoc+ikyXWc/kPiyEh6uM7LwsHQj3JOPwhRKp69vDrSssIrfPQEVAoGBAI8B"
            + "MPxC/gMyvU3sNG4TWOYveePyx2clqcPVcOEt7AXh+YeuiZHmUs1cxPUibwwtFiX432NECI7fV/yscOJ4lfqmvBIhrEJ1rkVnaCl6/eYdpm65qkzi"
            + "1aaZYECLU6n4OMeWeYwxtCfcL3JT/yLgRY9HjhUIX7D0IX0MPRUr1cAL");
    static final byte[] SHA1_WITH_RSA = decoded(
            "mJQ3qpuMfKAYmBFMfZ/H2/ytauVR+x0qK+HtRmbw5DYSvNU+QMWOverx0/5/BWG9q8kGb6LrNM1Np6u/U0mYk8yOw/y3XdXWJExbT1VQGsDk+Bdt"
            + "+Z82x6/WQEHwXEZoCH9Tv5OAn8yxy5fF6TtmsCcpvaZpY4w9/mGr8rnOynnjLlh4HGuw2Tzs4n2mJuQasLRbFEnTH3fnTpJwoHjgu85kSGFxTZ2N"
            + "RN0H4oypdfV6wApm/P4yADmbia2g3QnWJsNcsPjngXW2sYqZoQ6jSKMqvgKo4PLp9jdM3DrW8aTpeKbRg8V1FVog9zHgG0hz7IUiWMFB9/Vi4xZx"
            + "miSN3Q==");
    static final byte[] SHA256_WITH_RSA = decoded(
            "n36/Sqt5crGJe22+SJDWOSkC/Rcbe+ulpd7ybr/xiUN/xx+F+CQRHVoOAyw++mSG44Jue9zXSoeoKY9BBCglDyPD7DXTqLhPSB1b0+skZHbFJUPD"
            + "YEh+SZI7iR5Wxh9zmZk/6bj9zKHVeCakxXfY2jetY0amgnzN1229KAF58R5FY+KTxRKeEoTxZcYj9rQaUH94UVzmMqaFAUc8R+eVXCFp6bavc6Nb"
            + "lupefu1Wu2WnXRXYrb6xW1KvxfINwOSeO2AmHgoeNamltcHo3d58cCImHN5TdthxphxtpAVTFIjKnUEN9joi5SbvJtmIKP9R4l/B7U/o0fh5MLeY"
            + "jPq/cw==");

    static final byte[] DSA_PRIVATE_KEY = decoded(
            "MIIBSwIBADCCASwGByqGSM44BAEwggEfAoGBAJVCMjsU8lFgVdpjhgyU/JizTEoZsteDf0riPUz+NPt7/3D06zR1sn0+fc9pppDz5ZBzU2CuylwW"
            + "Ilw3+ndyQRST9cuYSxcPjsOCUyR7z3cdlstOqaR7hnBbew18mnn/IbNJFnioab9Mr1GxNIycIoqYTIdPIfOAvrLir0wP81AFAhUAusCS6XL1ures"
            + "9xsFROwdmgl09osCgYEAkvWmFnc6u7utMvPTOhsPwN8IweWQ+4k0apdrsa4rqBdJVdbEAB6cwk37Z0gmbF9fl9MggxoK4UpvcvfJCqzBRjjZgnt2"
            + "pXbXyxKQxkQhHGUSpED0jByWZSpGbvTxx0buRyWZtUbQ1FHqJXXOra+8XIvWrUKiGvgnivO/zHWxhMsEFgIUJzmXLhnhWpckOSgxuNqKdBg9dzg=");
    static final byte[] DSA_PUBLIC_KEY = decoded(
            "MIIBtzCCASwGByqGSM44BAEwggEfAoGBAJVCMjsU8lFgVdpjhgyU/JizTEoZsteDf0riPUz+NPt7/3D06zR1sn0+fc9pppDz5ZBzU2CuylwWIlw3"
            + "+ndyQRST9cuYSxcPjsOCUyR7z3cdlstOqaR7hnBbew18mnn/IbNJFnioab9Mr1GxNIycIoqYTIdPIfOAvrLir0wP81AFAhUAusCS6XL1ures9xsF"
            + "ROwdmgl09osCgYEAkvWmFnc6u7utMvPTOhsPwN8IweWQ+4k0apdrsa4rqBdJVdbEAB6cwk37Z0gmbF9fl9MggxoK4UpvcvfJCqzBRjjZgnt2pXbX"
            + "yxKQxkQhHGUSpED0jByWZSpGbvTxx0buRyWZtUbQ1FHqJXXOra+8XIvWrUKiGvgnivO/zHWxhMsDgYQAAoGANml7lt3KY9jU5MtFjFnXS3la3n9k"
            + "PMH1VqyRNi/eWElVpg8vQKZHIah0LXdYFUcrH7j/uMo28s3THMNPAx8RXyBe5P7R2kDornfvKy1s4Ajho+xCcEYJPz3+2Z6VgQPp4+aI5PoKsc24"
            + "vtyDLQT2kPSCbAA4JCnglu9QFXizsXM=");
    static final byte[] SHA1_WITH_DSA = decoded(
            "MC4CFQClOadSFczu8VsQXVxqpcFgah8llQIVAIcWQB11pZrd3UMUuUDp4d1MypJJ");

    private KnownAnswers() {}

    private static byte[] decoded(String base64) {
        return Base64.getDecoder().decode(base64);
    }
}
