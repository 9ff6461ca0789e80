-- The product catalogue: the side table and pictures of a product, prices by partner, the stock
-- ledger's usable flags, bills of materials and routes as far as the catalogue reads them, the
-- views of a product, and the catalogue's attributes and demo products.

-- At most one row per product, made at its first save.
CREATE TABLE KMDCPMLB (
  产品ID INTEGER PRIMARY KEY,
  建议备库量 REAL NOT NULL DEFAULT 0,
  采购方式 INTEGER NOT NULL DEFAULT 0,
  最高采购价 REAL NOT NULL DEFAULT 0,
  最低销售价 REAL NOT NULL DEFAULT 0,
  业务员ID INTEGER NOT NULL DEFAULT 0,
  物品名称英文 TEXT
);

-- A product's picture or drawing; isCompress 1 when fileImage holds a packed container.
CREATE TABLE KMDCPMLAttach (
  产品ID INTEGER PRIMARY KEY,
  fileName TEXT,
  fileSize INTEGER NOT NULL DEFAULT 0,
  contents TEXT,
  isCompress INTEGER NOT NULL DEFAULT 0,
  isEncrypt INTEGER NOT NULL DEFAULT 0,
  fileImage BLOB
);

-- Purchase prices by partner and currency; smark '02' and systemcode 'PO' for the catalogue's.
CREATE TABLE pubWLPrice (
  wlpriceID INTEGER PRIMARY KEY,
  往来ID INTEGER,
  币种ID INTEGER,
  产品ID INTEGER,
  单价 REAL NOT NULL DEFAULT 0,
  smark TEXT,
  systemcode TEXT,
  备注 TEXT
);
CREATE INDEX pubWLPrice_产品 ON pubWLPrice (产品ID, 往来ID);

-- The stock ledger's bar per product and accounting period.
CREATE TABLE jxcgoodszztz (
  AutoID INTEGER PRIMARY KEY,
  产品ID INTEGER,
  会计期间 INTEGER,
  是否可使用 INTEGER NOT NULL DEFAULT 1
);
CREATE INDEX jxcgoodszztz_产品 ON jxcgoodszztz (产品ID, 会计期间);

-- Bills of materials: the head names the product, the lines its parts.
CREATE TABLE KMDbom (
  BomID INTEGER PRIMARY KEY,
  产品ID INTEGER,
  smark TEXT,
  是否标准 INTEGER NOT NULL DEFAULT 0,
  是否失效 INTEGER NOT NULL DEFAULT 0
);
CREATE INDEX KMDbom_产品 ON KMDbom (产品ID);
CREATE TABLE KmdBommx (
  ID INTEGER PRIMARY KEY,
  BomID INTEGER,
  配件ID INTEGER,
  数量 REAL NOT NULL DEFAULT 0
);
CREATE INDEX KmdBommx_配件 ON KmdBommx (配件ID);

-- Process routes (headers); the lines are the process subsystem's.
CREATE TABLE KMDSRLX (
  ID INTEGER PRIMARY KEY,
  路线名称 TEXT,
  日期 TEXT,
  工作编号 TEXT,
  说明 TEXT,
  产品ID INTEGER NOT NULL DEFAULT 0,
  是否标准 INTEGER NOT NULL DEFAULT 0,
  是否失效 INTEGER NOT NULL DEFAULT 0,
  是否系统 INTEGER NOT NULL DEFAULT 0,
  是否关键路线 INTEGER NOT NULL DEFAULT 0
);
CREATE INDEX KMDSRLX_产品 ON KMDSRLX (产品ID);

-- A product with its category's id, code and name and its route's name.
CREATE VIEW vtKMDCPML AS
  SELECT p.*, c.类别ID AS 类别ID, c.类别名称 AS 产品类别, c.类别编码 AS 类别编码, r.路线名称 AS 工艺路线
  FROM KMDCPML p LEFT JOIN kmdcplb c ON c.类别ID = p.产品类别ID
  LEFT JOIN KMDSRLX r ON r.ID = p.工艺路线ID;

-- The tree's columns of a product.
CREATE VIEW vtKMDCPMLX AS
  SELECT c.类别编码 AS 类别编码, p.物品编码 AS 物品编码, p.物品名称 AS 物品名称, p.产品ID AS 产品ID,
         p.产品类别ID AS 产品类别ID
  FROM KMDCPML p LEFT JOIN kmdcplb c ON c.类别ID = p.产品类别ID;

INSERT INTO xt_objects (ProgID, progName, progCommandLine, ClassName) VALUES
  (200008, '产品目录', '', 'CPML');

-- The catalogue's attributes: where products come from, how they are bought, whether a reference
-- purchase price goes into the partner price list (also when it is 0), and the size limits of
-- pictures and drawings in KB. The price list is off: its statements take the base currency's
-- setting Option(12, 4) as a number, and the demo names the base currency by its code.
INSERT INTO xt_billattribute (ProgID, attribute, code, caption, text) VALUES
  (200008, '产品来源', '01', '自制', '1'),
  (200008, '产品来源', '02', '外购', '2'),
  (200008, '产品来源', '03', '委外', '3'),
  (200008, '采购方式', '01', '现款采购', '1'),
  (200008, '采购方式', '02', '赊购', '2'),
  (200008, '参考进价', '01', '是否保存到往来价格库', '0'),
  (200008, '参考进价', '02', '为零是否保存到往来价格库', '0'),
  (200008, 'limitpicture', '01', '图片大小限制(KB)', '1024'),
  (200008, 'limitdrawing', '01', '图纸大小限制(KB)', '2048');

-- More products, in the categories that hold products already (the categories' own demo keeps
-- its other leaves empty), and the phone's side row, bill of materials, route, price and ledger
-- rows.
INSERT INTO KMDCPML (产品ID, 物品编码, 物品名称, 产品类别ID, 规格, 助忆词, 库存单位, 重量单位, 参考进价, 参考零售价,
                     ABC码, 主往来ID, 来源ID, 是否使用, 换算比例) VALUES
  (5, 'A101', '铝板', 3, '3mm', 'LB', '千克', '', 21.5, 0, 'B', 4, 2, 1, 0),
  (6, 'A102', '铝型材', 3, '6063', 'LXC', '米', '千克', 15, 0, 'B', 4, 2, 1, 0.8),
  (7, 'D001', '包装箱', 5, '60x40x40', 'BZX', '个', '', 3.2, 0, 'C', 0, 2, 1, 0),
  (8, 'D002', '说明书', 5, 'A5', 'SMS', '个', '', 0.5, 0, 'C', 0, 1, 1, 0),
  (9, 'E001', '电源适配器', 7, '5V2A', 'DYSPQ', '个', '', 12, 25, 'B', 4, 2, 1, 0),
  (10, 'C002', '平板电脑', 7, 'T10', 'PBDN', '个', '箱', 1200, 1899, 'A', 0, 1, 1, 0);
INSERT INTO KMDCPMLB (产品ID, 建议备库量, 采购方式, 最高采购价, 最低销售价, 业务员ID, 物品名称英文) VALUES
  (4, 50, 2, 850, 999, 2, 'Mobile phone');
INSERT INTO KMDbom (BomID, 产品ID, smark, 是否标准, 是否失效) VALUES (1, 4, '02', 1, 0);
INSERT INTO KmdBommx (ID, BomID, 配件ID, 数量) VALUES (1, 1, 9, 1), (2, 1, 7, 1);
INSERT INTO KMDSRLX (ID, 路线名称, 日期, 工作编号, 说明, 产品ID, 是否标准, 是否失效, 是否系统, 是否关键路线) VALUES
  (1, '手机装配路线', '2026-01-05', 'W001', '', 4, 1, 0, 0, 1);
UPDATE KMDCPML SET 工艺路线ID = 1 WHERE 产品ID = 4;
INSERT INTO pubWLPrice (wlpriceID, 往来ID, 币种ID, 产品ID, 单价, smark, systemcode, 备注) VALUES
  (1, 4, 1, 5, 21.5, '02', 'PO', '产品目录记入');
INSERT INTO jxcgoodszztz (AutoID, 产品ID, 会计期间, 是否可使用) VALUES
  (1, 1, 202611, 1), (2, 1, 202610, 1), (3, 7, 202611, 1);

-- Pictures: the phone's stored as the file's bytes, the tablet's packed in a container, as other
-- programs of the suite store them.
INSERT INTO KMDCPMLAttach (产品ID, fileName, fileSize, contents, isCompress, isEncrypt, fileImage) VALUES
  (4, 'phone.bmp', 78, '手机外观图', 0, 0, X'424D4E0000000000000036000000280000000400000002000000010018000000000018000000130B0000130B00000000000000000000C06020C06020FFFFFFFFFFFFC06020C06020FFFFFFFFFFFF'),
  (10, 'tablet.png', 73, '平板电脑外观', 1, 0, X'150000004D6F7276656C4C6162207A4C6962436F6E74726F6C000000000B0000005C7461626C65742E706E67490000003AD45E3909484B4153000000490000004B00000078DAEB0CF073E7E592E2626060E0F5F4700902D2CC40CCC4C1042485C43EFA0229014F17C7908A5BC93FEE1F6070E429106388BFC4F13BAD71E92DA01C83A7AB9FCB3AA78426000CA71230');
