// The fixed word and name tables of the random test-data generator, as plain data.
// Words are grouped by length and sorted; each chunk is one comma-joined string of about 500 characters.
#include "tools/mdl_DBToolTables.h"

namespace rykel {

const std::vector<std::string>& hTableWordChunks(int pLength) {
  static const std::vector<std::string> tables[kWordLengthMax + 1] = {
      {},  // no words of length 0
      {},  // no words of length 1
      // 2 letters: 39 + 39 words
      {"AB,AG,AM,AN,AS,AU,BH,BR,CD,CM,DA,DB,DJ,DM,DO,DU,EG,EH,EI,EM,ER,ES,EU,EX,FA,FC,FH,GB,GO,HR,IM,"
       "IN,IQ,IT,JA,JE,KG,KI,KM",
       "KO,KW,LA,MA,MI,MM,MY,NA,NU,NY,OB,OG,OH,OK,ÖL,OP,PA,PC,PI,PO,PR,PS,QM,RE,SO,SV,TU,TV,UG,UK,UM,"
       "UR,US,WC,WG,WM,WO,XI,ZU"},
      // 3 letters: 124 + 130 words
      {"AAL,ABI,ABO,ABT,ACH,AGB,AHA,AHN,AHR,AKT,ALB,ALL,ALM,ALS,ALT,AMT,ARA,ARD,ARG,ARM,ART,ASS,AST,"
       "AUE,AUF,AUS,AXT,BAD,BAR,BÄR,BAU,BEI,BGB,BGH,BIO,BIS,BKA,BND,BOA,BOB,BON,BOX,BUB,BUG,BUS,BVG,"
       "DAS,DAX,DEM,DEN,DEO,DER,DES,DFB,DGB,DIA,DIE,DIR,DOM,DRK,DUO,DVD,EDV,EHE,EID,EIN,EIS,ELF,ELZ,"
       "EMS,EMU,ENG,ERZ,FAD,FAN,FAQ,FAX,FEE,FIX,FÖN,GAG,GAR,GAS,GEL,GEN,GEZ,GIN,GNU,GPS,GUT,HAB,HAI,"
       "HAT,HAU,HEU,HGB,HIN,HIT,HNO,HOF,HUT,ICE,ICH,IHM,IHN,IHR,ILM,INN,IST,JET,JOB,JOD,JUX,KAI,KAP,"
       "KAT,KFZ,KIT,KUH,KÜR,KVB,LAB,LAG,LAS",
       "LAU,LID,LKW,LOB,LOK,LOS,LOT,LUV,MAG,MAI,MAL,MAN,MDR,MIO,MIT,MIX,MMS,MOB,MOL,MOP,MUS,MUT,MVV,"
       "NAH,NDR,NEU,NIE,NIL,NIX,NOT,NUN,NUR,ODE,ÖDE,OFT,OHA,OHM,OHR,OMA,OPA,ORF,ORT,ÖSE,OST,PDF,PER,"
       "PIK,PKW,POL,POP,PRO,PST,PUB,RAD,RAP,RAR,RAT,RBB,REH,ROH,ROM,ROT,RTL,RUF,RUM,RUR,SAH,SAU,SEE,"
       "SEI,SET,SIE,SKI,SMS,SOG,SPA,SUD,SÜD,SWR,TAG,TAL,TAT,TAU,TEE,THW,TJA,TOD,TON,TOR,TOT,TUN,TÜV,"
       "UFO,UHR,UHU,ULK,ULM,UND,UNI,UNO,UNS,USB,VAN,VIA,VOM,VON,VOR,VRR,WAL,WAR,WAS,WDR,WEG,WEH,WEM,"
       "WEN,WER,WIE,WIR,WOK,WUT,YAK,ZAR,ZDF,ZEH,ZEN,ZOO,ZUG,ZUM,ZUR"},
      // 4 letters: 99 + 99 words
      {"ACHT,AFFE,AUGE,AUTO,BACH,BAHN,BALL,BAND,BANK,BAUM,BEIN,BERG,BETT,BIER,BILD,BLAU,BLUT,BOOT,BÖSE,"
       "BOSS,BUCH,BUNT,BURG,CENT,CHEF,CHOR,DACH,DAME,DAMM,DORF,DREI,EHRE,EIER,EINS,ENTE,ERDE,ESEL,EULE,"
       "EURO,FELD,FELS,FEST,FILM,FINK,FOTO,FRAU,FRÜH,FÜNF,GANS,GAST,GELB,GELD,GLAS,GLUT,GOLD,GRAS,GRAU,"
       "GRÜN,GURT,HAAR,HAHN,HAIN,HALS,HAND,HANG,HART,HASE,HASS,HAUS,HAUT,HEFT,HELD,HELL,HEMD,HERD,HERR,"
       "HERZ,HOLZ,HOSE,HUHN,HUND,IDEE,IDOL,IGEL,JAHR,JULI,JUNG,JUNI,KAHN,KALB,KALK,KALT,KAUF,KEKS,KERN,"
       "KIND,KINO,KNIE,KOCH",
       "KOHL,KOPF,KORB,KURZ,LAMM,LAND,LANG,LAUB,LAUF,LAUT,LEER,LEHM,LEID,LIEB,LIED,LILA,LOHN,LÖWE,LUFT,"
       "LUST,MAMA,MANN,MAUS,MEER,MEHL,MOND,MOOS,MUND,NAME,NASE,NASS,NEID,NEUN,NUSS,OBST,OFEN,OPER,PAAR,"
       "PAPA,PARK,PECH,PFAD,PLAN,POST,RABE,REIS,REST,RING,ROCK,ROSA,ROSE,RÜBE,RUHE,RUHM,SACK,SAFT,SALZ,"
       "SAND,SATZ,SEKT,SENF,SIEG,SINN,SOFA,SOHN,SPÄT,STAR,TAKT,TANZ,TAXI,TEAM,TEIL,TEXT,TOPF,TORF,TURM,"
       "TÜTE,UFER,VASE,VIER,VOLK,VOLL,WALD,WAND,WARE,WARM,WEIN,WELT,WERT,WIND,WIRT,WOLF,WORT,ZAHL,ZAHN,"
       "ZEHN,ZEIT,ZIEL,ZWEI"},
      // 5 letters: 83 + 83 words
      {"ABEND,ACKER,ADLER,AHORN,AKTIE,ALARM,ALLEE,ALPEN,AMPEL,ANGST,APFEL,ÄRGER,ASCHE,BAHRE,BAUCH,"
       "BAUER,BEERE,BIENE,BIRKE,BIRNE,BLATT,BLECH,BLUME,BLUSE,BODEN,BOHNE,BÖRSE,BRAUT,BRETT,BRIEF,"
       "BUCHE,DAMPF,DECKE,DEICH,DIELE,DRAHT,DURST,EBENE,EICHE,EIMER,EISEN,ENGEL,ERNTE,ESCHE,ESSIG,"
       "FAHRT,FARBE,FAUST,FEIER,FEIND,FEUER,FIGUR,FISCH,FLÖTE,FROST,FUCHS,GABEL,GASSE,GLÜCK,GUNST,"
       "GURKE,HAFEN,HAFER,HAGEL,HALLE,HONIG,HÜGEL,HÜTTE,INSEL,JACKE,JÄGER,KÄFER,KANNE,KANTE,KARTE,"
       "KASSE,KATZE,KISTE,KLANG,KLEID,KLEIN,KNOPF,KOHLE",
       "KREIS,KREUZ,KUNDE,KUNST,KÜSTE,LACHS,LADEN,LAGER,LAMPE,LAUCH,LEISE,LEUTE,LILIE,LINDE,MALER,"
       "MARKT,MAUER,MIETE,MILCH,MITTE,MONAT,MÖNCH,MOTTE,MUSIK,MÜTZE,NACHT,NEBEL,NELKE,NONNE,ONKEL,"
       "ORGEL,PAKET,PAPST,PFERD,PLATZ,PREIS,RAUCH,REGEN,REICH,RODEL,ROLLE,RUDER,SAHNE,SAUER,SCHAL,"
       "SECHS,SEIFE,SONNE,SPIEL,SPORT,STADT,STAHL,STEIN,STERN,STIER,STOFF,STÜCK,STUHL,STURM,SUPPE,"
       "TANNE,TANTE,TAUBE,TEICH,TINTE,TISCH,TORTE,TULPE,VATER,WEICH,WEIDE,WELLE,WESPE,WIEGE,WOCHE,"
       "WOLKE,WOLLE,WURST,ZIEGE,ZUNGE,ZWEIG,ZWERG,ZWÖLF"},
      // 6 letters: 71 + 71 words
      {"ABITUR,ADVENT,ARBEIT,ARTIST,AUSWEG,BÄCKER,BALKON,BAUERN,BECHER,BERUFE,BESUCH,BETRAG,BEZIRK,"
       "BIOTOP,BITTER,BLÜTEN,BRILLE,BRÜCKE,BRUDER,BÜCHER,BUTTER,DUNKEL,DUSCHE,ELSTER,FABRIK,FAHRER,"
       "FERIEN,FERKEL,FICHTE,FLÜGEL,FREUND,GARTEN,GEBIET,GEBÜHR,GEFAHR,GEHALT,GERUCH,GESETZ,GEWINN,"
       "GIPFEL,GITTER,GLÄSER,GRABEN,GRENZE,GRUPPE,HAMMER,HANDEL,HEIMAT,HERBST,HERING,HIMMEL,HIRSCH,"
       "HÖLZER,HUMMEL,INSEKT,JACKEN,KAFFEE,KAMERA,KANONE,KAPSEL,KASTEN,KELLER,KINDER,KIRCHE,KISSEN,"
       "KLASSE,KNOTEN,KOFFER,KOHLEN,KÖRPER,KOSTEN",
       "KREIDE,KUCHEN,KUMMER,LAMPEN,LEHRER,LEITER,LOCKEN,LÖFFEL,MANTEL,MARINE,MENSCH,MESSER,MINUTE,"
       "MITTAG,MONATE,MORGEN,MUSKEL,MUSTER,MUTTER,NELKEN,NORDEN,NUMMER,ORANGE,PAPIER,PAPPEL,PARTEI,"
       "PERSON,PFEIFE,PINSEL,PLAKAT,PLANET,POLLEN,POSTEN,PRAXIS,PRESSE,PROFIL,PUPPEN,QUELLE,REIFEN,"
       "RITTER,ROLLER,RUINEN,SÄNGER,SCHALE,SCHERE,SCHIFF,SCHULE,SCHUTZ,SESSEL,SIEBEN,SOCKEN,SOMMER,"
       "STATUE,STRAND,STUFEN,STUNDE,TASCHE,TELLER,TENNIS,TUNNEL,TURNEN,URLAUB,VEREIN,WASSER,WECKER,"
       "WESTEN,WETTER,WINTER,WIRBEL,WISSEN,WOLKEN"},
      // 7 letters: 62 + 62 words
      {"ACHTUNG,ADRESSE,ANFRAGE,ANGEBOT,AUFGABE,AUSFLUG,AUSGABE,BAHNHOF,BAUKRAN,BEREICH,BERICHT,"
       "BETRIEB,BRUNNEN,DAMPFER,DICHTER,DRUCKER,EINHEIT,EINKAUF,EISBERG,ELEFANT,ENERGIE,FAHRRAD,"
       "FAHRTEN,FEBRUAR,FELDWEG,FENSTER,FESTTAG,FISCHER,FLASCHE,FÖRSTER,FREITAG,FRIEDEN,GARAGEN,"
       "GARDINE,GÄRTNER,GEBÄUDE,GEDICHT,GEMÄLDE,GEWICHT,GLOCKEN,GRABMAL,HALTUNG,HAUSBAU,HAUSTÜR,"
       "HEIMWEG,HEIZUNG,HOLZWEG,HUNDERT,INHABER,JUBILAR,KANZLER,KAPELLE,KAPITAL,KELLNER,KLAVIER,"
       "KLEIDER,KLINGEL,KLOSTER,KONZEPT,KONZERT,KRÄUTER,KREISEL",
       "LATERNE,LEITUNG,LEUCHTE,MÄDCHEN,MAGAZIN,MEHRWEG,MEISTER,MESSING,METZGER,MILLION,MINERAL,"
       "MÜHLRAD,NACHBAR,OKTOBER,ORDNUNG,OSTWIND,PACKUNG,PFARRER,PFLANZE,PISTOLE,PLANUNG,POLITIK,"
       "POLIZEI,POSTAMT,PROJEKT,PRÜFUNG,RATHAUS,RECHNER,REKLAME,RICHTER,ROTKOHL,SAMMLER,SAMSTAG,"
       "SCHRANK,SEEUFER,SEMINAR,SENATOR,SENDUNG,SONNTAG,SPIEGEL,STADION,STATION,STEMPEL,STEUERN,"
       "STUDENT,TABELLE,TAUSEND,TELEFON,TERMINE,THEATER,TOCHTER,TROMMEL,VERKEHR,VERLUST,VERTRAG,"
       "VIERTEL,VORHANG,ZEITUNG,ZEUGNIS,ZOLLAMT,ZUSTAND,ZWIEBEL"},
      // 8 letters: 55 + 55 words
      {"ABENDROT,ACKERBAU,ANWÄLTIN,APOTHEKE,AUTOBAHN,BAUGRUBE,BAUPLATZ,BAUSTEIN,BERGBAHN,BERGWERK,"
       "BESUCHER,BETRIEBE,BEWERBER,BIERZELT,BIOLOGIE,BRÖTCHEN,BROTKORB,BÜROHAUS,COMPUTER,DARLEHEN,"
       "DEZEMBER,DIENSTAG,DIREKTOR,EISDIELE,ENGLISCH,ERDBEERE,ERDKUNDE,ERGEBNIS,FABRIKEN,FAHRPLAN,"
       "FEIERTAG,FLUGZEUG,FOTOGRAF,FRAKTION,FREIZEIT,FRÜHLING,GASTHAUS,GEBÜHREN,GEMEINDE,GESCHENK,"
       "GETREIDE,GEWITTER,HANDWERK,HAUSBOOT,HAUSFLUR,HOCHHAUS,HOCHZEIT,HOLZBANK,HOLZHAUS,INTERNET,"
       "KALENDER,KASSETTE,KAUFHAUS,KAUFMANN,KIRSCHEN",
       "KOLLEGEN,KOLLEGIN,KREISTAG,KREUZUNG,KUHSTALL,KUTSCHER,LANDWIRT,LEHRERIN,LEHRLING,LUFTPOST,"
       "MIETERIN,MINISTER,MITTWOCH,MOLKEREI,NACHTBUS,NORDWIND,NOVEMBER,OBSTBAUM,PARKBANK,PARTEIEN,"
       "POSTBOTE,PROGRAMM,QUITTUNG,REGENTAG,REISEBUS,RELIGION,RUCKSACK,SÄGEWERK,SCHINKEN,SCHNECKE,"
       "SCHULBUS,SCHULHOF,SCHULWEG,SEMESTER,SORGFALT,SPARBUCH,SPEICHER,SPORTLER,STADTRAT,TANKWART,"
       "TEEKANNE,TISCHLER,UMSCHLAG,VORSTAND,WANDERER,WASCHBÄR,WEINBERG,WEINFEST,WERKZEUG,WILDPARK,"
       "WOHNHAUS,ZAHNARZT,ZEITPLAN,ZIEGELEI,ZWILLING"},
      // 9 letters: 50 + 50 words
      {"ABTEILUNG,AKTIONÄRE,ARCHITEKT,BADEWANNE,BAHNSTEIG,BAUERNHOF,BAUHERREN,BEWERBUNG,BLASMUSIK,"
       "BLEISTIFT,BRATWURST,BUNDESRAT,BUNDESTAG,DACHBODEN,DACHRINNE,DIVIDENDE,EISHOCKEY,ERDBEEREN,"
       "FAHRKARTE,FAHRPLÄNE,FERNSEHEN,FERNSEHER,FEUERWEHR,FINANZAMT,FISCHERIN,FLEISCHER,FLUGHAFEN,"
       "FLUGHÄFEN,FLUGZEUGE,FÖRSTERIN,FRISEURIN,GARTENTOR,GÄRTNERIN,GIROKONTO,GÜTERZÜGE,HALBINSEL,"
       "HAUSTÜREN,HIMBEEREN,JUGENDAMT,KANZLERIN,KARTOFFEL,KNOBLAUCH,KOALITION,KÖCHINNEN,KRANKHEIT,"
       "LAGERHAUS,LANDKARTE,LANDKREIS,LANDRÄTIN,LASTWAGEN",
       "LEBKUCHEN,LOKFÜHRER,LÖSCHZÜGE,MARMELADE,MONDLICHT,NACHBARIN,NACHTISCH,NACHTZÜGE,OBSTWIESE,"
       "PAKETBOTE,PARAGRAPH,PARKPLATZ,PFARRERIN,POSTKARTE,PRAKTIKUM,PROFESSOR,RATHÄUSER,REGIERUNG,"
       "RHEINUFER,SCHAFFNER,SCHLOSSER,SCHLÜSSEL,SCHNITZEL,SCHREINER,SCHULFEST,SEGELBOOT,SEPTEMBER,"
       "SOZIALAMT,SPARKASSE,SPIELZEUG,STADTPARK,STERNBILD,STOCKWERK,STUDENTIN,TABLETTEN,TERRASSEN,"
       "TISCHTUCH,TURNHALLE,UHRMACHER,UMLEITUNG,VERMIETER,VORLESUNG,WAHLKAMPF,WAHLKREIS,WAHLRECHT,"
       "WARENHAUS,WEGWEISER,WERKSTATT,WOHNUNGEN,ZELTPLATZ"},
      // 10 letters: 45 + 45 words
      {"ABENDSONNE,ACHTERBAHN,ALTENHEIME,ANGEKLAGTE,APFELBÄUME,ARBEITSAMT,ARZTPRAXEN,ARZTPRAXIS,"
       "AUTOFAHRER,BÄCKEREIEN,BADEZIMMER,BAHNSTEIGE,BAUERNHÖFE,BAUSTELLEN,BIBLIOTHEK,BIRKENWALD,"
       "BLEISTIFTE,BUCHENWALD,BÜGELBRETT,CURRYWURST,DACHDECKER,DACHZIEGEL,DIREKTORIN,DONNERSTAG,"
       "EICHENWALD,ELEKTRIKER,FAHRKARTEN,FEIERABEND,GARTENFEST,GARTENZAUN,GESCHICHTE,GLÜHBIRNEN,"
       "GRUNDSTÜCK,HANDWERKER,HEIZKÖRPER,HITZEWELLE,HOCHSCHULE,JAHRESZEIT,KARTOFFELN,KÄSEKUCHEN,"
       "KAUFHÄUSER,KINDERARZT,KINOKARTEN,KREUZUNGEN,LOKOMOTIVE",
       "MARKTPLATZ,MATHEMATIK,MINISTERIN,MOTORRÄDER,NACHMITTAG,NUDELSALAT,OPPOSITION,PARKHÄUSER,"
       "PARKPLÄTZE,POLIZISTEN,POLIZISTIN,PRAKTIKANT,RASENMÄHER,RECHNUNGEN,REGENTONNE,SANDKASTEN,"
       "SAUERKRAUT,SCHAFHERDE,SCHWIMMBAD,SEKRETÄRIN,SOMMERFEST,SPIELPLATZ,SPORTPLATZ,STADTRÄTIN,"
       "STANDESAMT,STECKDOSEN,STRANDKORB,TANKSTELLE,TANNENBAUM,TASTATUREN,TEDDYBÄREN,TISCHLERIN,"
       "TURNLEHRER,VORSCHLÄGE,VORSPEISEN,WAHLZETTEL,WANDERWEGE,WÄSCHEKORB,WASSERFALL,WINTERZEIT,"
       "WIRTSCHAFT,WOHNZIMMER,ZAHNÄRZTIN,ZEMENTSACK,ZUCKERROHR"},
      // 11 letters: 42 + 42 words
      {"APOTHEKERIN,ARBEITGEBER,AUSSTELLUNG,BAHNHOFSUHR,BAUMSCHULEN,BERGSTEIGER,BILDSCHIRME,"
       "BLUMENWIESE,BUCHHALTUNG,BÜRGERINNEN,BÜROGEBÄUDE,DATENBANKEN,DONAURADWEG,EISENBAHNEN,"
       "EISENBAHNER,ERDGESCHOSS,FAHRRADWEGE,FERNSEHTURM,FESTPLATTEN,FEUERWACHEN,FEUERWEHREN,"
       "FLEDERMÄUSE,FLEISCHEREI,GARAGENTORE,GÄRTNEREIEN,GEBURTSTAGE,GENEHMIGUNG,GITARRISTEN,"
       "GURKENSALAT,HALTESTELLE,HANDWERKERN,HAUSMEISTER,INNENSTÄDTE,KINDERWAGEN,KIRSCHBÄUME,"
       "KONTOAUSZUG,KRANKENHAUS,LOKFÜHRERIN,MÄRCHENBUCH,MARIENKÄFER,MARKTPLÄTZE,MEDIKAMENTE",
       "METZGEREIEN,MINISTERIUM,MITARBEITER,NACHRICHTEN,NACHSPEISEN,NEBENKOSTEN,NOTAUFNAHME,"
       "OPERNHÄUSER,ORANGENSAFT,OSTERFERIEN,OSTSEEKÜSTE,PFANNKUCHEN,PFLEGEHEIME,PRÄSIDENTIN,"
       "PRÜFUNGSAMT,RADFAHRERIN,REGENWÜRMER,RUNDFUNKRAT,SAHNETORTEN,SÄNGERINNEN,SCHAFFNERIN,"
       "SCHLAFWAGEN,SCHORNSTEIN,SCHULBÜCHER,SCHWARZBROT,SCHWARZWALD,SPEISEKARTE,SPEISEWAGEN,"
       "SPIELPLÄTZE,STAUBSAUGER,STUNDENPLAN,SUPERMÄRKTE,TANKSTELLEN,TISCHTENNIS,TREPPENHAUS,"
       "ÜBERSTUNDEN,ÜBERWEISUNG,UMLEITUNGEN,VORLESUNGEN,WEIHNACHTEN,WOCHENENDEN,ZEITSCHRIFT"},
      // 12 letters: 38 + 38 words
      {"ABGEORDNETEN,ALPENVEREINE,APFELSCHORLE,APFELSTRUDEL,ARBEITNEHMER,ARBEITSPLATZ,AUFSICHTSRAT,"
       "AUSBILDUNGEN,BIBLIOTHEKEN,BIERFLASCHEN,BLUMENWIESEN,BODENSEEUFER,BUCHHALTERIN,BUNDESLÄNDER,"
       "CAMPINGPLATZ,DACHDECKERIN,DOKTORARBEIT,EICHHÖRNCHEN,ELEKTRIKERIN,ENTSCHEIDUNG,FLUGHAFENBUS,"
       "FRÜHSTÜCKSEI,GEMEINDERÄTE,GESELLSCHAFT,GEWERKSCHAFT,HAUSAUFGABEN,HERBSTFERIEN,HOCHZEITSTAG,"
       "KAFFEETASSEN,KANZLERINNEN,KELLNERINNEN,KINDERGARTEN,KIRSCHBLÜTEN,KREUZFAHRTEN,KÜCHENTISCHE,"
       "LANDSCHAFTEN,LEHRERZIMMER,MANNSCHAFTEN",
       "MITTAGSPAUSE,NACHTIGALLEN,NORDSEEKÜSTE,RADIERGUMMIS,RATHAUSPLATZ,REGENSCHIRME,RINDERBRATEN,"
       "SCHNEEFLOCKE,SCHNEEMÄNNER,SCHORNSTEINE,SCHULKLASSEN,SCHWIMMBÄDER,SCHWIMMHALLE,SICHERHEITEN,"
       "SOMMERFERIEN,SONNENBLUMEN,SONNENSCHEIN,SPEISEKARTEN,SPORTVEREINE,SPÜLMASCHINE,STUDIENGÄNGE,"
       "SUPPENTELLER,TISCHLEREIEN,UNTERSCHRIFT,URLAUBSREISE,VEREINBARUNG,VERORDNUNGEN,VERSICHERUNG,"
       "VERWALTUNGEN,VOLLKORNBROT,VORSCHRIFTEN,WANDERKARTEN,WEINFLASCHEN,WILDSCHWEINE,WINTERFERIEN,"
       "WISSENSCHAFT,WOCHENMÄRKTE,ZIMMERMÄNNER"},
  };
  static const std::vector<std::string> none;
  if (pLength < kWordLengthMin || pLength > kWordLengthMax) { return none; }
  return tables[pLength];
}

const std::vector<std::string>& hTableTitles() {
  // Academic titles put before a name.
  static const std::vector<std::string> rows{
      "Prof.",
      "Dr.",
      "Prof. Dr.",
  };
  return rows;
}

const std::vector<std::string>& hTableCompanyForms() {
  // Legal forms appended to a last name to make a company name.
  static const std::vector<std::string> rows{
      "GmbH", "& Sohn", "GmbH & Co.KG", "CoKG", "OHG", "AG", "GbR",
  };
  return rows;
}

const std::vector<std::string>& hTableCompanyNames() {
  // Complete company names; a placeholder in braces is expanded by the generator.
  static const std::vector<std::string> rows{
      "Vogelfrei", "Stadthalle {CITY}", "Buxtehuder Stahlwerke", "Rassmosel-Rassmosel", "Gebrüder Wackelzahn",
  };
  return rows;
}

const std::vector<std::string>& hTableTopLevelDomains() {
  // Top-level domain labels, without the dot.
  static const std::vector<std::string> rows{
      "de", "com", "net", "org", "eu",
  };
  return rows;
}

const std::vector<std::string>& hTableMailDomains() {
  // Domains of public free-mail providers.
  static const std::vector<std::string> rows{
      "web.de", "gmx.de", "gmx.net", "t-online.de", "freenet.de", "mail.de", "googlemail.com",
  };
  return rows;
}

const std::vector<std::string>& hTableFirstNamesFemale() {
  // Female first names; the misspelt "Verionika" is kept on purpose.
  static const std::vector<std::string> rows{
      "Andrea",      "Angelika",  "Anja",      "Anke",      "Ann-Christin", "Anna-Lena",  "Anne",      "Annette",
      "Annika",      "Antje",     "Astrid",    "Ayşe",      "Barbara",      "Beate",      "Bettina",   "Bianca",
      "Birgit",      "Brigitte",  "Brunhilde", "Carina",    "Carmen",       "Carolin",    "Christa",   "Christiane",
      "Christina",   "Claudia",   "Cornelia",  "Dagmar",    "Daniela",      "Doris",      "Dorothea",  "Edith",
      "Elfriede",    "Elif",      "Elisabeth", "Elke",      "Emilia",       "Emma",       "Erika",     "Eva",
      "Fatma",       "Franziska", "Frauke",    "Frieda",    "Gabriele",     "Gerda",      "Gertrud",   "Gesine",
      "Gisela",      "Greta",     "Hanna",     "Hannelore", "Heidrun",      "Heike",      "Helene",    "Helga",
      "Hildegard",   "Ida",       "Ilse",      "Inge",      "Ingrid",       "Irmgard",    "Isabell",   "Jana",
      "Janina",      "Jennifer",  "Jessica",   "Johanna",   "Jördis",       "Jule",       "Julia",     "Juliane",
      "Jutta",       "Karin",     "Katharina", "Käthe",     "Kathrin",      "Katja",      "Kerstin",   "Klara",
      "Kristin",     "Laura",     "Lea",       "Lena",      "Leyla",        "Lieselotte", "Lisa",      "Lotte",
      "Luise",       "Maike",     "Manuela",   "Mareike",   "Margarete",    "Maria",      "Marianne",  "Marie",
      "Marie-Luise", "Marina",    "Marion",    "Martina",   "Mathilda",     "Melanie",    "Merle",     "Mia",
      "Michaela",    "Miriam",    "Monika",    "Nadine",    "Natalie",      "Nele",       "Nicole",    "Nina",
      "Paula",       "Petra",     "Pia",       "Renate",    "Rita",         "Ronja",      "Rosemarie", "Roswitha",
      "Ruth",        "Sabine",    "Sandra",    "Sarah",     "Sieglinde",    "Silke",      "Simone",    "Sonja",
      "Sophie",      "Stefanie",  "Susanne",   "Svenja",    "Tanja",        "Theresa",    "Tina",      "Ulrike",
      "Ursula",      "Ute",       "Vanessa",   "Vera",      "Verionika",    "Waltraud",   "Wiebke",    "Wilhelmine",
      "Yasmin",      "Yvonne",    "Zeynep",
  };
  return rows;
}

const std::vector<std::string>& hTableFirstNamesMale() {
  // Male first names.
  static const std::vector<std::string> rows{
      "Achim",     "Ahmet",     "Albert",   "Alexander", "Alfons",     "Andreas",  "Anton",      "Armin",
      "Arne",      "Axel",      "Benedikt", "Benjamin",  "Bernd",      "Bernhard", "Björn",      "Bodo",
      "Bülent",    "Burkhard",  "Carsten",  "Christian", "Christoph",  "Claus",    "Daniel",     "David",
      "Detlef",    "Dieter",    "Dirk",     "Dominik",   "Dragan",     "Egon",     "Elias",      "Emil",
      "Erich",     "Ernst",     "Erwin",    "Eugen",     "Fabian",     "Felix",    "Florian",    "Frank",
      "Franz",     "Friedrich", "Fritz",    "Georg",     "Gerd",       "Gerhard",  "Goran",      "Gottfried",
      "Gregor",    "Günter",    "Gustav",   "Hans",      "Hans-Peter", "Harald",   "Hartmut",    "Hasan",
      "Heiko",     "Heinrich",  "Heinz",    "Helmut",    "Henning",    "Herbert",  "Holger",     "Horst",
      "Hubert",    "Ingo",      "Jakob",    "Jan",       "Jens",       "Joachim",  "Jochen",     "Johannes",
      "Jonas",     "Jörg",      "Josef",    "Jürgen",    "Kai",        "Karl",     "Karl-Heinz", "Kemal",
      "Klaus",     "Konrad",    "Kurt",     "Lars",      "Leon",       "Lothar",   "Lukas",      "Lutz",
      "Manfred",   "Marco",     "Markus",   "Martin",    "Matthias",   "Max",      "Maximilian", "Mehmet",
      "Michael",   "Moritz",    "Mustafa",  "Niklas",    "Nils",       "Norbert",  "Olaf",       "Oliver",
      "Oskar",     "Otto",      "Özgür",    "Pascal",    "Patrick",    "Paul",     "Peter",      "Philipp",
      "Piotr",     "Rainer",    "Ralf",     "Reinhard",  "Rolf",       "Rüdiger",  "Rudolf",     "Sebastian",
      "Siegfried", "Simon",     "Stefan",   "Süleyman",  "Sven",       "Thomas",   "Thorsten",   "Tim",
      "Tobias",    "Tomasz",    "Torben",   "Udo",       "Ulrich",     "Uwe",      "Volker",     "Walter",
      "Werner",    "Wilhelm",   "Willi",    "Wolfgang",  "Yen",        "Zladtko",
  };
  return rows;
}

const std::vector<std::string>& hTableCities() {
  // Towns and cities; the misspelt "Münnchen" is kept on purpose.
  static const std::vector<std::string> rows{
      "Bad-Salz-Ufflen", "Berlin", "Bielefeld", "Bitterfeld", "Bochum",    "Bremen",   "Dortmund",  "Dresden",
      "Düsseldorf",      "Essen",  "Frankfurt", "Göttingen",  "Gütersloh", "Hamburg",  "Hamm",      "Hannover",
      "Kassel",          "Köln",   "Leipzig",   "Münnchen",   "Münster",   "Nürnberg", "Oldenburg", "Osnabrück",
      "Paderborn",       "Rheine", "Stuttgart",
  };
  return rows;
}

const std::vector<std::string>& hTableNameStems() {
  // Stems for street names and last names; a trailing hyphen joins the next part.
  static const std::vector<std::string> rows{
      "Aal",
      "Ahorn",
      "Amsel",
      "Bach",
      "Becker",
      "Berg",
      "Birken",
      "Bischof-Ketteler-",
      "Blumen",
      "Bosch",
      "Brahms",
      "Brink",
      "Brunnen",
      "Buchen",
      "Burg",
      "Busch",
      "Dachs",
      "Dahl",
      "Diesel",
      "Dorf",
      "Drossel",
      "Dürer",
      "Eichen",
      "Eller",
      "Erlen",
      "Eulen",
      "Falken",
      "Feld",
      "Fink",
      "Fischer",
      "Fontane",
      "Freiherr-von-Feierstein-",
      "Fuchs",
      "Gänse",
      "Garten",
      "Goethe",
      "Graf",
      "Graf-von-Galen-",
      "Grün",
      "Hagebutten",
      "Hagen",
      "Hahn",
      "Händel",
      "Hasel",
      "Heide",
      "Heine",
      "Hermann-van-Wonneproppen-",
      "Hirsch",
      "Hof",
      "Holz",
      "Horst",
      "Hügel",
      "Humboldt",
      "Kaiser-Wilhelm-",
      "Kamp",
      "Karmann",
      "Kessel",
      "Kirch",
      "Klee",
      "Klein",
      "Koch",
      "Kolk",
      "Kolping",
      "Kranich",
      "Krüger",
      "Kuckuck",
      "Lerchen",
      "Lessing",
      "Linden",
      "Loh",
      "Löwen",
      "Luther",
      "Meisen",
      "Moor",
      "Mozart",
      "Mühlen",
      "Nuss",
      "Pappel",
      "Pfauen",
      "Quellen",
      "Raben",
      "Ranseier",
      "Rilke",
      "Röntgen",
      "Rosen",
      "Sand",
      "Schiller",
      "Schmied",
      "Schön",
      "Schwalben",
      "Sonnen",
      "Specht",
      "Stein",
      "Storch",
      "Storm",
      "Stumpf",
      "Tannen",
      "Teich",
      "Uhland",
      "Ulmen",
      "Vogel",
      "Wagner",
      "Wald",
      "Weiden",
      "Weiher",
      "Wiesen",
      "Winkel",
      "Wolf",
      "Zeppelin",
  };
  return rows;
}

const std::vector<std::string>& hTableLastNamePrefixes() {
  // Prefixes put before a last name to make a double name.
  static const std::vector<std::string> rows{
      "Schulze-",
      "Schulte-",
      "Von-",
      "Zur-",
  };
  return rows;
}

const std::vector<std::string>& hTableLastNames() {
  // Common last names.
  static const std::vector<std::string> rows{
      "Bauer",   "Beck",    "Becker",   "Berger",     "Braun",    "Fischer",   "Frank",   "Friedrich", "Fuchs",
      "Günther", "Hahn",    "Hartmann", "Herrmann",   "Hoffmann", "Hofmann",   "Huber",   "Jung",      "Kaiser",
      "Keller",  "Klein",   "Koch",     "Köhler",     "König",    "Krause",    "Krüger",  "Lang",      "Lange",
      "Lehmann", "Meier",   "Meyer",    "Möller",     "Müller",   "Mut",       "Neumann", "Peters",    "Richter",
      "Roth",    "Schäfer", "Schmidt",  "Schmitt",    "Schmitz",  "Schneider", "Scholz",  "Schröder",  "Schubert",
      "Schulz",  "Schulze", "Schwarz",  "Spieß",      "Vogel",    "Wagner",    "Walter",  "Weber",     "Weiß",
      "Werner",  "Winkler", "Wolf",     "Zimmermann",
  };
  return rows;
}

const std::vector<std::string>& hTableStreetSuffixes() {
  // Endings appended to a name stem to make a street name.
  static const std::vector<std::string> rows{
      "allee",
      "weg",
      "straße",
      "stiege",
  };
  return rows;
}

}  // namespace rykel
